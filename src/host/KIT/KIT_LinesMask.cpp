#include <KIT/KIT_LinesMask.h>

#include <algorithm>

namespace {

using Run = KIT_LinesMask::Run;

bool before(const Run& a, const Run& b) { return a.y != b.y ? a.y < b.y : a.left < b.left; }

/// Appends a run behind those of `runs`; a neighbour with the same tag is joined.
void append(std::vector<Run>& runs, const Run& run) {
    if (run.left >= run.right) return;
    if (!runs.empty()) {
        Run& last = runs.back();
        if (last.y == run.y && last.right == run.left && last.data == run.data) {
            last.right = run.right;
            return;
        }
    }
    runs.push_back(run);
}

/// The runs of one line of each list, `over` on top. Both ordered and free of overlaps.
void merge_line(const Run* under, const Run* underEnd, const Run* over, const Run* overEnd,
                KIT_Mask::Data* data, std::vector<Run>& merged) {
    for (; over != overEnd; ++over) {
        int left = over->left;
        // What lies before this run stays; what reaches under it is cut.
        for (; under != underEnd && under->left < left; ++under) {
            const int start = merged.empty() || merged.back().y != under->y
                                  ? under->left
                                  : std::max(under->left, merged.back().right);
            append(merged, {under->y, start, std::min(under->right, left), under->data});
            if (under->right > left) break;
        }
        append(merged, {over->y, left, over->right, data});
        while (under != underEnd && under->right <= over->right) ++under;
    }
    for (; under != underEnd; ++under) {
        const int start = merged.empty() || merged.back().y != under->y
                              ? under->left
                              : std::max(under->left, merged.back().right);
        append(merged, {under->y, start, under->right, under->data});
    }
}

}  // namespace

KIT_LinesMask::KIT_LinesMask() = default;
KIT_LinesMask::KIT_LinesMask(const KIT_LinesMask& other) : KIT_Mask_proxy(), m_Runs(other.m_Runs) {}
KIT_LinesMask& KIT_LinesMask::operator=(const KIT_LinesMask& other) {
    m_Runs = other.m_Runs;
    return *this;
}
KIT_LinesMask::~KIT_LinesMask() = default;

void KIT_LinesMask::Clear() { m_Runs.clear(); }
void KIT_LinesMask::init() { m_Runs.clear(); }
bool KIT_LinesMask::is_empty() const { return m_Runs.empty(); }

const KIT_LinesMask::Run* KIT_LinesMask::find(int x, int y) const {
    // The last run that starts at or before the pixel.
    auto at = std::upper_bound(m_Runs.begin(), m_Runs.end(), Run{y, x, x, nullptr}, before);
    if (at == m_Runs.begin()) return nullptr;
    --at;
    return at->y == y && x < at->right ? &*at : nullptr;
}

bool KIT_LinesMask::HitTest(int x, int y) const { return find(x, y) != nullptr; }

KIT_Mask::Data* KIT_LinesMask::GetData(int x, int y) const {
    const Run* const run = find(x, y);
    return run == nullptr ? nullptr : run->data;
}

void KIT_LinesMask::AddMask(KIT_LinesMask* lines, KIT_Mask::Data* data) {
    if (lines == nullptr || lines->m_Runs.empty()) return;
    const std::vector<Run>& over = lines->m_Runs;
    std::vector<Run> merged;
    merged.reserve(m_Runs.size() + over.size());
    const Run* u = m_Runs.data();
    const Run* const uEnd = u + m_Runs.size();
    const Run* o = over.data();
    const Run* const oEnd = o + over.size();
    while (u != uEnd || o != oEnd) {
        const int y = u == uEnd ? o->y : o == oEnd ? u->y : std::min(u->y, o->y);
        const Run* const uLine = u;
        while (u != uEnd && u->y == y) ++u;
        const Run* const oLine = o;
        while (o != oEnd && o->y == y) ++o;
        merge_line(uLine, u, oLine, o, data, merged);
    }
    m_Runs.swap(merged);
}

void KIT_LinesMask::Inverse(KIT_Rect rect) {
    std::vector<Run> inverted;
    const Run* run = m_Runs.data();
    const Run* const end = run + m_Runs.size();
    for (int y = rect.top; y < rect.bottom; ++y) {
        while (run != end && run->y < y) ++run;
        int left = rect.left;
        for (; run != end && run->y == y; ++run) {
            append(inverted, {y, left, std::min(run->left, rect.right), nullptr});
            left = std::max(left, run->right);
        }
        append(inverted, {y, left, rect.right, nullptr});
    }
    m_Runs.swap(inverted);
}

void KIT_LinesMask::AddRun(int y, int left, int right, KIT_Mask::Data* data) {
    if (left >= right) return;
    // In order, as a scan conversion gives them, a run goes to the end.
    if (m_Runs.empty() || m_Runs.back().y < y || (m_Runs.back().y == y && m_Runs.back().right <= left)) {
        append(m_Runs, {y, left, right, data});
        return;
    }
    KIT_LinesMask one;
    one.m_Runs.push_back({y, left, right, data});
    AddMask(&one, data);
}
