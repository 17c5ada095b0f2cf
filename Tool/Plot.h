// Plot: figures of a run as a picture.

#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Canvas.h"

namespace Host {

/// A line through points in the order given; a point that is not finite interrupts it.
struct PlotLine {
    std::string mName;  ///< for the key; empty for none
    Colour mColour;
    std::vector<Point> mPoints;
    double mWidth = 2.0;
};

/// One pair of axes with what is drawn in it: lines, or bars, or both.
struct Plot {
    std::string mTitle, mXTitle, mYTitle;
    void SetTitles(const std::string& inTitle, const std::string& inX, const std::string& inY) {
        mTitle = inTitle;
        mXTitle = inX;
        mYTitle = inY;
    }

    std::vector<PlotLine> mLines;
    std::vector<Point> mBars;  ///< left edge and height
    double mBarWidth = 0.0;
    bool mFromZero = true;      ///< the y axis begins at 0
    bool mLogarithmic = false;  ///< the y axis counts powers of ten, from 1; bars alone
    /// Lines from top to bottom, each with its name: where a clip has cuts.
    std::vector<std::pair<double, std::string>> mMarks;
    /// Dots with a text beside them: where a path begins and ends.
    std::vector<std::pair<Point, std::string>> mDots;
    /// A place in the picture: y runs downward, and both axes have one scale and span the
    /// whole picture.
    double mPictureWidth = 0.0, mPictureHeight = 0.0;
};

/// Colours that are told apart on white, also in print.
inline constexpr Colour kPlotColours[] = {
    {31.0, 104.0, 184.0}, {214.0, 96.0, 20.0}, {40.0, 140.0, 90.0}, {150.0, 70.0, 160.0}};

/// The places of the marks on an axis: multiples of 1, 2 or 5 times a power of ten, about
/// `inCount` of them, inside the range.
std::vector<double> AxisMarks(double inFrom, double inTo, int inCount);

/// A histogram of whole numbers, in at most `inMaxBars` bars of one whole width.
void AddHistogram(Plot& ioPlot, const std::vector<double>& inValues, int inMaxBars);

/// A line of values over the numbers of `inFrames`.
PlotLine LineOver(const std::vector<double>& inFrames, const std::vector<double>& inValues,
                  const std::string& inName = {}, const Colour& inColour = kPlotColours[0]);

/// Writes a picture with the plots one below the other, and a line below them that says what
/// they are of: the clip and its settings.
/// @throws UserError if it cannot be written.
void WritePlots(const std::vector<Plot>& inPlots, const std::string& inCaption,
                const std::string& inFile);

}  // namespace Host
