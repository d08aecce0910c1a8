#include <KIT/KIT_LinesMask.h>

#include <algorithm>
#include <cstddef>
#include <queue>

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

/// A run with its place in the order of laying: the greater is on top.
struct Layer {
    Run run;
    std::size_t order;
};

/// The runs of one line, in order of their left ends, as the topmost of them show.
void merge_line(const std::vector<Layer>& line, std::vector<Run>& merged) {
    const auto below = [](const Layer* a, const Layer* b) { return a->order < b->order; };
    std::priority_queue<const Layer*, std::vector<const Layer*>, decltype(below)> open(below);
    std::size_t next = 0;
    int x = 0;
    while (next < line.size() || !open.empty()) {
        if (open.empty()) x = line[next].run.left;
        while (next < line.size() && line[next].run.left <= x) open.push(&line[next++]);
        while (!open.empty() && open.top()->run.right <= x) open.pop();
        if (open.empty()) continue;
        // The topmost run shows as far as it goes, or to where the next one begins.
        const Layer& top = *open.top();
        const int end = next < line.size() ? std::min(top.run.right, line[next].run.left) : top.run.right;
        append(merged, {top.run.y, x, end, top.run.data});
        x = end;
    }
}

}  // namespace

KIT_LinesMask::KIT_LinesMask() = default;
KIT_LinesMask::KIT_LinesMask(const KIT_LinesMask& other)
    : KIT_Mask_proxy(), m_Runs(other.m_Runs), m_Added(other.m_Added) {}
KIT_LinesMask& KIT_LinesMask::operator=(const KIT_LinesMask& other) {
    m_Runs = other.m_Runs;
    m_Added = other.m_Added;
    return *this;
}
KIT_LinesMask::~KIT_LinesMask() = default;

void KIT_LinesMask::Clear() {
    m_Runs.clear();
    m_Added.clear();
}

void KIT_LinesMask::init() { Clear(); }
bool KIT_LinesMask::is_empty() const { return m_Runs.empty() && m_Added.empty(); }

void KIT_LinesMask::merge() const {
    if (m_Added.empty()) return;
    std::vector<Layer> layers;
    layers.reserve(m_Runs.size() + m_Added.size());
    for (const Run& run : m_Runs) layers.push_back({run, layers.size()});
    for (const Run& run : m_Added) layers.push_back({run, layers.size()});
    std::sort(layers.begin(), layers.end(),
              [](const Layer& a, const Layer& b) { return before(a.run, b.run); });
    std::vector<Run> merged;
    merged.reserve(layers.size());
    std::vector<Layer> line;
    for (std::size_t i = 0; i < layers.size();) {
        const int y = layers[i].run.y;
        line.clear();
        bool overlaps = false;
        for (; i < layers.size() && layers[i].run.y == y; ++i) {
            overlaps |= !line.empty() && line.back().run.right > layers[i].run.left;
            line.push_back(layers[i]);
        }
        if (overlaps) {
            merge_line(line, merged);
        } else {
            for (const Layer& layer : line) append(merged, layer.run);
        }
    }
    m_Runs.swap(merged);
    m_Added.clear();
}

const std::vector<KIT_LinesMask::Run>& KIT_LinesMask::GetRuns() const {
    merge();
    return m_Runs;
}

const KIT_LinesMask::Run* KIT_LinesMask::find(int x, int y) const {
    merge();
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
    if (lines == nullptr) return;
    // A copy of the count: a mask may be added to itself.
    const std::vector<Run>& over = lines->GetRuns();
    const std::size_t count = over.size();
    m_Added.reserve(m_Added.size() + count);
    for (std::size_t i = 0; i < count; ++i) m_Added.push_back({over[i].y, over[i].left, over[i].right, data});
}

void KIT_LinesMask::Inverse(KIT_Rect rect) {
    merge();
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
    const bool isLast = m_Added.empty() && (m_Runs.empty() || m_Runs.back().y < y ||
                                            (m_Runs.back().y == y && m_Runs.back().right <= left));
    append(isLast ? m_Runs : m_Added, {y, left, right, data});
}
