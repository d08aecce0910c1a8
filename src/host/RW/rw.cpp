#include <RW/RWBoundsErr.h>
#include <RW/RWOrdered.h>
#include <RW/RWWString.h>

#include <algorithm>
#include <cstdint>
#include <functional>

const char* RWTOOL_INDEXERR() { return "index %1 is out of range in a collection of %2"; }

RWMessage::RWMessage(const char* text, std::size_t index, std::size_t count) {
    for (const char* at = text; at != nullptr && *at != '\0'; ++at) {
        if (at[0] == '%' && (at[1] == '1' || at[1] == '2')) {
            m_Text += std::to_string(at[1] == '1' ? index : count);
            ++at;
        } else {
            m_Text += *at;
        }
    }
}

RWBoundsErr::RWBoundsErr(const RWMessage& message) : std::out_of_range(message.str()) {}
RWBoundsErr::~RWBoundsErr() = default;

void RWThrowIndexError(std::size_t index, std::size_t count) {
    RWThrow(RWBoundsErr(RWMessage(RWTOOL_INDEXERR(), index, count)));
}

RWCollectable::RWCollectable() = default;
RWCollectable::~RWCollectable() = default;
RWCollectable* RWCollectable::newSpecies() const { return new RWCollectable; }
RWCollectable* RWCollectable::copy() const { return new RWCollectable(*this); }
RWClassID RWCollectable::isA() const { return 0; }
const RWCollectable* RWCollectable::self() const { return this; }
RWCollectable* RWCollectable::self() { return this; }
RWspace RWCollectable::binaryStoreSize() const { return 0; }
int RWCollectable::compareTo(const RWCollectable* other) const {
    if (this == other) return 0;
    return std::less<const RWCollectable*>()(this, other) ? -1 : 1;
}
unsigned int RWCollectable::hash() const {
    // The lowest bits of an address are always 0.
    return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(this) >> 4);
}
bool RWCollectable::isEqual(const RWCollectable* other) const { return this == other; }
void RWCollectable::restoreGuts(RWvistream&) {}
void RWCollectable::restoreGuts(RWFile&) {}
void RWCollectable::saveGuts(RWvostream&) const {}
void RWCollectable::saveGuts(RWFile&) const {}

RWCollection::RWCollection() = default;
RWCollection::~RWCollection() = default;

RWOrdered::RWOrdered(std::size_t capacity) { m_Elements.reserve(capacity); }
RWOrdered::~RWOrdered() = default;

RWCollectable*& RWOrdered::operator[](std::size_t i) {
    if (i >= m_Elements.size()) RWThrowIndexError(i, m_Elements.size());
    return m_Elements[i];
}

RWCollectable* RWOrdered::operator[](std::size_t i) const {
    if (i >= m_Elements.size()) RWThrowIndexError(i, m_Elements.size());
    return m_Elements[i];
}

void RWOrdered::clearAndDestroy() {
    // Emptied first: a destructor may look at the collection.
    std::vector<RWCollectable*> owned;
    owned.swap(m_Elements);
    // In place, since collections are destroyed when memory is short too.
    std::sort(owned.begin(), owned.end(), std::less<>());
    owned.erase(std::unique(owned.begin(), owned.end()), owned.end());
    for (RWCollectable* element : owned) delete element;
}

std::size_t RWOrdered::entries() const { return m_Elements.size(); }

RWCollectable* RWOrdered::insert(RWCollectable* element) {
    if (element != nullptr) m_Elements.push_back(element);
    return element;
}

RWWString::RWWString() = default;
RWWString::RWWString(const wchar_t* text) : m_Text(text == nullptr ? L"" : text) {}
RWWString::RWWString(const RWWString&) = default;
RWWString::~RWWString() = default;
RWWString& RWWString::operator=(const RWWString&) = default;
bool RWWString::operator==(const wchar_t* text) const { return m_Text == (text == nullptr ? L"" : text); }
