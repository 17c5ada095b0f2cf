// Everything that this layer has, but for what needs another library: strokes_json.h, opencv.h
// and ffmpeg.h beside this file.

#pragma once

#include "descriptor/Caches.h"
#include "descriptor/Error.h"
#include "descriptor/Frame.h"
#include "descriptor/GreyFrames.h"
#include "descriptor/KeyFrames.h"
#include "descriptor/Outline.h"
#include "descriptor/PointTracker.h"
#include "descriptor/Progress.h"
#include "descriptor/RegionTracker.h"
#include "descriptor/Selection.h"
#include "descriptor/Source.h"
#include "descriptor/Stroke.h"
#include "descriptor/StrokeMasks.h"
