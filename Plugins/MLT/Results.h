// Results: what an analysis leaves in the properties of its filter, and takes from them.

#pragma once

#include <framework/mlt.h>

#include <optional>
#include <string>
#include <vector>

#include "RegionAnalysis.h"
#include "Service.h"

namespace descriptor_mlt {

/// The key frames of an animated rectangle of the properties, or the one of a plain one, for
/// position 0. Sides may be per cent of the profile. Rectangles without area, which editors set
/// before there is one, count as none.
std::vector<descriptor::KeyFrame> KeysOf(const Request& inRequest, const char* inName);

/// The rectangle of a finished analysis at the request's position.
///
/// `results` counts as finished from two key frames on: with one it is the rectangle to begin
/// with, which editors keep there until an analysis has run. Of a single frame it is both.
std::optional<descriptor::Rect> ResultAt(const Request& inRequest);

/// Writes `results`, a smooth animation with a key frame every `inSteps` positions, at the
/// ends, and where somebody gave one and just before; and `state`, with a key frame wherever it
/// changes.
void Publish(const Request& inRequest, const std::vector<std::optional<RegionAt>>& inResults,
             int inSteps);

}  // namespace descriptor_mlt
