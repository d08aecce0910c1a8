#include <KIT/KIT_ChangeCounter.h>

namespace {

// Counts wrap; unsigned arithmetic says so without undefined behaviour.
int wrapped(unsigned count) { return static_cast<int>(count); }

}  // namespace

KIT_ChangeCounter::KIT_ChangeCounter(int count) : m_Count(count) {}
KIT_ChangeCounter::KIT_ChangeCounter(const KIT_ChangeCounter& other) : m_Count(other.m_Count) {}
KIT_ChangeCounter::~KIT_ChangeCounter() = default;

KIT_ChangeCounter& KIT_ChangeCounter::operator=(int count) {
    m_Count = count;
    return *this;
}

KIT_ChangeCounter& KIT_ChangeCounter::operator=(const KIT_ChangeCounter& other) {
    m_Count = other.m_Count;
    return *this;
}

bool KIT_ChangeCounter::operator==(const KIT_ChangeCounter& other) const { return m_Count == other.m_Count; }
bool KIT_ChangeCounter::operator!=(const KIT_ChangeCounter& other) const { return m_Count != other.m_Count; }

KIT_ChangeCounter& KIT_ChangeCounter::operator++() {
    m_Count = wrapped(static_cast<unsigned>(m_Count) + 1u);
    return *this;
}

KIT_ChangeCounter KIT_ChangeCounter::operator+(const KIT_ChangeCounter& other) const {
    return KIT_ChangeCounter(wrapped(static_cast<unsigned>(m_Count) + static_cast<unsigned>(other.m_Count)));
}

void KIT_ChangeCounter::MarkChange() { ++*this; }
int KIT_ChangeCounter::GetCount() const { return m_Count; }

KIT_ChangeCounter KIT_ChangeCounter::operator*(const KIT_ChangeCounter& other) const {
    return KIT_ChangeCounter(wrapped(static_cast<unsigned>(m_Count) * static_cast<unsigned>(other.m_Count)));
}
