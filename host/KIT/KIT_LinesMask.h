#pragma once

#include <HOST_Export.h>
#include <KIT/KIT_Mask.h>
#include <KIT/KIT_Rect.h>

#include <vector>

/// A mask as runs of pixels on scan lines: the form in which it lies on the screen. Each run can carry a tag,
/// which belongs to somebody else.
///
///     KIT_LinesMask mask;
///     mask.AddRun(y, left, right, nullptr);
///     for (const KIT_LinesMask::Run& run : mask.GetRuns()) draw(run.y, run.left, run.right, run.data);
///
/// Runs are kept in one array, ordered by line and then by column; they never overlap, and neighbours with
/// the same tag are joined. Masks that are added are merged when somebody first looks, all at once, so that
/// adding many costs no more than their runs. Not locked, and looking at a mask may merge it.
class HOST_API KIT_LinesMask : public KIT_Mask_proxy {
public:
    /// Pixels left to right - 1 of line y.
    struct Run {
        int y;
        int left;
        int right;
        KIT_Mask::Data* data;
    };

    KIT_LinesMask();
    /// An independent copy; the tags are shared.
    KIT_LinesMask(const KIT_LinesMask& other);
    KIT_LinesMask& operator=(const KIT_LinesMask& other);

    ~KIT_LinesMask() override;
    void Clear() override;
    /// Whether the pixel lies in a run.
    bool HitTest(int x, int y) const override;

    /// Lays the runs of `lines` on top of what is here, all with the tag `data`. Null lines add nothing;
    /// neither argument is taken over.
    void AddMask(KIT_LinesMask* lines, KIT_Mask::Data* data);
    /// Replaces the runs by their complement inside the rectangle, right and bottom excluded, without tags.
    void Inverse(KIT_Rect rect);

    /// Lays one run on top; an empty one adds nothing.
    void AddRun(int y, int left, int right, KIT_Mask::Data* data);
    /// All runs, in order of line and column.
    const std::vector<Run>& GetRuns() const;
    /// The tag of the run at a pixel; null as well where there is no run.
    KIT_Mask::Data* GetData(int x, int y) const;

protected:
    void init() override;
    bool is_empty() const override;

private:
    const Run* find(int x, int y) const;

    void merge() const;

    mutable std::vector<Run> m_Runs;   ///< merged
    mutable std::vector<Run> m_Added;  ///< to be laid on top, the later above the earlier
};
