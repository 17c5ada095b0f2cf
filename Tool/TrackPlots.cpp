#include "TrackPlots.h"

#include "Plot.h"

namespace Host {
namespace {

using FrameFigures = TrackHistory::FrameFigures;

template <class Value>
PlotLine LineOf(const TrackHistory& inHistory, Value FrameFigures::*inValue,
                const std::string& inName, const Colour& inColour) {
    PlotLine line{inName, inColour, {}, 2.0};
    for (const FrameFigures& frame : inHistory.Frames())
        line.mPoints.push_back({double(frame.mFrame), double(frame.*inValue)});
    return line;
}

}  // namespace

void WriteTrackPlots(const TrackHistory& inHistory, const std::vector<double>& inMilliseconds,
                     const std::string& inCaption, const std::string& inStem) {
    Plot live;
    live.SetTitles("Live points", "frame", "points");
    live.mLines = {LineOf(inHistory, &FrameFigures::mLive, "live", kPlotColours[0]),
                   LineOf(inHistory, &FrameFigures::mLost, "lost", kPlotColours[1])};
    Plot ages;
    ages.SetTitles("Ages of the live points", "frame", "age in frames");
    ages.mLines = {
        LineOf(inHistory, &FrameFigures::mAgeNinety, "90 % are below", kPlotColours[2]),
        LineOf(inHistory, &FrameFigures::mAgeMedian, "median", kPlotColours[0]),
        LineOf(inHistory, &FrameFigures::mAgeTen, "10 % are below", kPlotColours[1])};
    ages.mLines[0].mWidth = 6.0;  // lines that run together are all seen
    ages.mLines[1].mWidth = 3.5;
    for (const long long cut : inHistory.Cuts())
        for (Plot* const plot : {&live, &ages})
            plot->mMarks.emplace_back(double(cut), "cut?");
    WritePlots({live, ages}, inCaption, inStem + "points.png");

    Plot lengths;
    lengths.SetTitles("Lengths of the tracks, those that live at the end too",
                      "frames that a point was seen in", "tracks");
    lengths.mLogarithmic = true;
    AddHistogram(lengths, inHistory.Lengths(), 60);
    WritePlots({lengths}, inCaption, inStem + "lengths.png");

    std::vector<double> numbers;
    for (const FrameFigures& frame : inHistory.Frames())
        numbers.push_back(double(frame.mFrame));
    Plot time;
    time.SetTitles("Time in the tracker", "frame", "milliseconds");
    time.mLines = {LineOver(numbers, inMilliseconds)};
    WritePlots({time}, inCaption, inStem + "milliseconds.png");
}

}  // namespace Host
