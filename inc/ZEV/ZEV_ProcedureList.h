#pragma once

#include <COM/bstr.h>
#include <RW/RWBoundsErr.h>
#include <ZEV/ZEV_Export.h>

#include <cstddef>
#include <utility>
#include <vector>

class ZEV_ColorMap;
class ZEV_ProcedureColorMaps;
class ZEV_ProcedurePreset;

/// Pointers in the order of append, in a singly linked list: one short entry per procedure. A copy holds the
/// same elements as its source. Only clearAndDestroy deletes elements, so that a copy's entries dangle after
/// that.
template <class T>
class ZEV_ProcedureList {
public:
    ZEV_ProcedureList() = default;
    ZEV_ProcedureList(const ZEV_ProcedureList& other) { append_all(other); }
    ZEV_ProcedureList(ZEV_ProcedureList&& other) noexcept { swap(other); }
    ZEV_ProcedureList& operator=(const ZEV_ProcedureList& other) {
        if (m_pHead != other.m_pHead) {
            ZEV_ProcedureList copy(other);
            swap(copy);
        }
        return *this;
    }
    ZEV_ProcedureList& operator=(ZEV_ProcedureList&& other) noexcept {
        if (this != &other) swap(other);
        return *this;
    }
    ~ZEV_ProcedureList() { drop_nodes(); }

    std::size_t entries() const { return m_Count; }
    /// Walks from the head; raises RWBoundsErr when i is not below entries().
    T* at(std::size_t i) const {
        if (i >= m_Count) RWThrow(RWBoundsErr(RWMessage(RWTOOL_INDEXERR(), i, m_Count)));
        const Node* node = m_pHead;
        for (; i > 0; --i) node = node->m_pNext;
        return node->m_pElement;
    }
    void append(T* element) {
        Node* const node = new Node{element, nullptr};
        (m_pTail == nullptr ? m_pHead : m_pTail->m_pNext) = node;
        m_pTail = node;
        ++m_Count;
    }
    void clearAndDestroy() {
        static_assert(sizeof(T) > 0, "the elements' class must be known where they are deleted");
        // Emptied first: a destructor may look at the list.
        ZEV_ProcedureList owned;
        swap(owned);
        for (const Node* node = owned.m_pHead; node != nullptr; node = node->m_pNext) delete node->m_pElement;
    }
    /// The first element that equals the key by its operator==; null when there is none, or for a null key.
    T* find(const T* key) const {
        for (const Node* node = m_pHead; key != nullptr && node != nullptr; node = node->m_pNext) {
            if (*node->m_pElement == *key) return node->m_pElement;
        }
        return nullptr;
    }

private:
    struct Node {
        T* m_pElement;
        Node* m_pNext;
    };

    void append_all(const ZEV_ProcedureList& other) {
        for (const Node* node = other.m_pHead; node != nullptr; node = node->m_pNext)
            append(node->m_pElement);
    }
    void swap(ZEV_ProcedureList& other) noexcept {
        std::swap(m_pHead, other.m_pHead);
        std::swap(m_pTail, other.m_pTail);
        std::swap(m_Count, other.m_Count);
    }
    void drop_nodes() {
        while (m_pHead != nullptr) delete std::exchange(m_pHead, m_pHead->m_pNext);
    }

    Node* m_pHead = nullptr;
    Node* m_pTail = nullptr;
    std::size_t m_Count = 0;
};

class ZEV_API ZEV_ProcedurePresetList : public ZEV_ProcedureList<ZEV_ProcedurePreset> {};

/// The process has one list of colour maps, which the first reading of the configuration fills. Pointers to
/// its maps dangle after clearAndDestroy. No lock.
class ZEV_API ZEV_ProcedureColorMapsList : public ZEV_ProcedureList<ZEV_ProcedureColorMaps> {
public:
    /// The list of the process, made at the first call, safely on any thread, and never destroyed.
    static ZEV_ProcedureColorMapsList* GetInstance();

    /// Also forgets m_pPreviousColorMap.
    void clearAndDestroy();

    /// All maps of that UID, in list order. Where an image asks for a map by its UID, the last one counts.
    std::vector<ZEV_ColorMap*> FindByUID(const _bstr_t& uid) const;

    /// Makes the next image open as if it were the first: choosing the map of the image before once more
    /// would leave the window alone, and a UID that is not found would set the SUV scale of that map.
    static void ForgetPreviousColorMap() { m_pPreviousColorMap = nullptr; }

    /// The map that was last chosen by its UID; null at first. Not owned.
    static ZEV_ColorMap* m_pPreviousColorMap;
};
