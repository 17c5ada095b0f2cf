// Selection: a foreground cut out of a picture, stroke by stroke.

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "DP/IGraphCutDescriptor.h"
#include "descriptor/Frame.h"
#include "descriptor/Outline.h"
#include "descriptor/Progress.h"
#include "descriptor/Stroke.h"
#include "descriptor/detail/Brush.h"
#include "descriptor/detail/PackedMask.h"
#include "descriptor/detail/Request.h"
#include "descriptor/detail/SelectionRule.h"

namespace descriptor {

/// All that can be set, with what it is by default.
struct SelectionSettings {
    /// The library has room for one selection in the process. False: a second one is refused
    /// with a `BusyError`. True: those that say so wait for each other's cuts, and whoever
    /// finds the room taken over cuts its picture and all its strokes anew, to the same bits.
    bool take_turns = false;
    /// Called before each cut and within; false stops with `Cancelled`.
    ProgressCallback progress = {};
};

/// Selects what strokes say, in one picture.
///
///     descriptor::Selection selection(frame);
///     selection.add({{.path = {{320, 180}, {380, 200}}, .radius = 6}});
///     save(selection.mask());
///
/// The first strokes cut the picture, further ones go on from there and cost a fraction of
/// it. Undo and redo have no limit and cost nothing; strokes that are added after an undo
/// make the cuts before them once more, in their order, and come to the same bits.
///
/// The flow behind a cut is not told: the library's public interface gives labels alone.
///
/// Ownership: the picture is copied.
/// Threads: one at a time; a second one is told so by a `BusyError`.
/// Errors: `ArgumentError`, `BusyError`, `Cancelled`. What was selected stays selected.
class Selection {
public:
    /// Takes a picture. Nothing is selected yet, and nothing computed.
    explicit Selection(const Frame& inFrame, SelectionSettings inSettings = {})
        : mSettings(std::move(inSettings)),
          mLeave((check(inFrame), mSettings.take_turns)),
          mWidth(inFrame.width),
          mHeight(inFrame.height),
          mTime(inFrame.time),
          mNumber(inFrame.number),
          mPixels(detail::bgra_with_end(inFrame)),
          mName(quillet::utility::UTF8ToUTF16(detail::unique_text("selection "))),
          mComputer("a selection", mName, [](const quillet::WideString& inSource) {
              return DP::CreateDescriptorProperty(inSource, DP::kDescriptorDataTypeGraphCut);
          }) {
        mMask = detail::PackedMask().unpack(mWidth, mHeight);
    }

    /// Adds strokes and cuts. What was undone before can no longer be redone.
    void add(const Strokes& inStrokes) {
        const detail::OneThread::Guard guard(mFlag, "Selection");
        check(inStrokes);
        std::vector<Strokes> history(mHistory.begin(),
                                     mHistory.begin() + std::ptrdiff_t(mDone));
        history.push_back(inStrokes);
        cut(history);
    }
    /// One stroke.
    void add(const Stroke& inStroke) { add(Strokes{inStroke}); }

    /// Takes the place of all strokes, such as those of a file: cut by cut, as they were made.
    void replace(const std::vector<Strokes>& inHistory) {
        const detail::OneThread::Guard guard(mFlag, "Selection");
        for (const Strokes& strokes : inHistory)
            check(strokes);
        mGraphAt = 0;
        cut(inHistory);
    }

    /// One step back or forward; false where there is none.
    /// @{
    bool undo() { return can_undo() && show(mDone - 1); }
    bool redo() { return can_redo() && show(mDone + 1); }
    bool can_undo() const noexcept { return mDone > 0; }
    bool can_redo() const noexcept { return mDone < mHistory.size(); }
    /// @}

    /// The strokes that count, by the cut that they were added with.
    std::span<const Strokes> history() const noexcept { return {mHistory.data(), mDone}; }

    /// 255 where a pixel is selected, else 0. It stays as it is when the selection changes.
    Frame mask() const { return detail::frame_of(mMask, {.time = mTime, .number = mNumber}); }
    /// The border of the mask; see `outline_of`.
    std::vector<Polyline> outline() const { return outline_of(mask()); }
    /// How long the last `add` or `replace` cut, in seconds; waiting for others left out.
    double last_cut_seconds() const noexcept { return mSeconds; }

    /// The picture's size.
    /// @{
    int width() const noexcept { return mWidth; }
    int height() const noexcept { return mHeight; }
    /// @}

private:
    using Mask = IP::ImagePtr<unsigned char>;

    bool show(std::size_t inDone) {
        const detail::OneThread::Guard guard(mFlag, "Selection");
        mMask =
            (inDone > 0 ? mMasks[inDone - 1] : detail::PackedMask()).unpack(mWidth, mHeight);
        mDone = inDone;
        return true;
    }

    // Brings the library's graph to the end of a history, from where it is if it is on the
    // way there, and makes that history the selection's own.
    void cut(const std::vector<Strokes>& inHistory) {
        detail::SelectionLeave::Turn turn(mLeave);
        const auto start = std::chrono::steady_clock::now();
        std::size_t at = std::exchange(mGraphAt, 0);  // where it stays if something throws
        if (!turn.had_graph() || at > mDone) at = 0;
        std::vector<detail::PackedMask> masks(mMasks.begin(),
                                              mMasks.begin() + std::ptrdiff_t(at));
        for (; at < inHistory.size(); ++at) {
            report_progress(mSettings.progress, std::int64_t(at),
                            std::int64_t(inHistory.size()));
            const detail::Asking asking(mSettings.progress,
                                        {std::int64_t(at), std::int64_t(inHistory.size())});
            turn.begin();
            mGraphLabels = request(inHistory[at], at == 0);
            turn.end();
            masks.emplace_back(*mGraphLabels);
        }
        mMask = inHistory.empty() ? detail::PackedMask().unpack(mWidth, mHeight) : mGraphLabels;
        mHistory = inHistory;
        mMasks = std::move(masks);
        mDone = mGraphAt = mHistory.size();
        mSeconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }

    // One cut. All have one key and none is stored: the library's cache would keep a mask
    // for each of them.
    Mask request(const Strokes& inStrokes, bool inIsFirst) const {
        detail::StrokeImages images(mWidth, mHeight);
        for (const Stroke& stroke : inStrokes)
            images.draw(stroke);
        // The library draws into the labels that go in; the last ones may be somebody's mask.
        const Mask labels = inIsFirst ? Mask() : detail::copy_image(*mGraphLabels);
        const auto data =
            detail::ask("a cut", mComputer, DP::kDescriptorDataTypeGraphCut,
                        DP::CreateDescriptorDataKey(mName, 0, mHeight, mWidth), false,
                        [&](const DP::Ref<DP::IDescriptorWorkerItem>& ioItem) {
                            DP::Ref<DP::IGraphCutDescriptorWorkerItem>(ioItem)->SetInputs(
                                mPixels.data(), unsigned(mWidth) * 4, images.mForeground,
                                images.mBackground, labels);
                        });
        return DP::Ref<DP::IGraphCutDescriptorData>(data)->GetLabelImage();
    }

    SelectionSettings mSettings;
    detail::SelectionLeave mLeave;
    int mWidth;
    int mHeight;
    std::optional<double> mTime;
    std::optional<std::int64_t> mNumber;
    std::vector<unsigned char> mPixels;
    quillet::WideString mName;
    detail::OwnComputer mComputer;
    Mask mMask;

    std::vector<Strokes> mHistory;           // with what was undone
    std::vector<detail::PackedMask> mMasks;  // after each of them
    std::size_t mDone = 0;                   // how many count
    std::size_t mGraphAt = 0;                // how many the library's graph has
    Mask mGraphLabels;                       // after those
    double mSeconds = 0.0;
    detail::OneThread mFlag;
};

}  // namespace descriptor
