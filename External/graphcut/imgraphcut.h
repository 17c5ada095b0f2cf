// ImageGraph and TiledImageGraph: an image area as nodes and links of a FlowGraph.

#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <vector>

#include "External/graphcut/FlowGraph.h"
#include "External/graphcut/MWSegment.h"
#include "TVK/ObjectPtr.h"
#include "image/RecycledAllocator.h"

namespace graphcut {
struct PictureArea;
}

/// Rows first. Bottom and right are exclusive; y runs downward, row 0 is the top row.
struct GraphRect {
    int mTop = 0;
    int mLeft = 0;
    int mBottom = 0;
    int mRight = 0;
};

/// What `SetTerminalEnergies` gives a pixel that no stroke marks.
enum TerminalEnergyMode : short {
    kTerminalEnergyStrokesOnly = 1,  ///< a constant bias to one side
    kTerminalEnergyFit = 2,          ///< the negative logarithms of the fit
    kTerminalEnergyBlendedFit = 3,   ///< the bias and the logarithms, blended by the fit
    kTerminalEnergyClippedFit = 4,   ///< as 3 on one side of a fit of one half, else hard
};

/// Maps the pixels of an area to the nodes of a graph, and pictures to its capacities.
///
/// The sink's side of the cut is the foreground. What is minimised is the sum of the cut
/// terminal capacities, which say how much a pixel wants to a side, and of the cut links
/// between neighbours, which cost much where their colours are alike.
///
/// Two forms. **Regions**: `BuildRegionGraph` cuts the image into small regions, each one
/// node, and a link between two regions adds up the energies of all pixel pairs along their
/// border. **Pixels**: `AddPixelNodes` makes each pixel a node of its own.
///
/// A graph of its own has the source as node 0 and the sink as node 1; region i, counted
/// from 0, is node i + 2. A pixel without a node holds `mDefaultNode`, the source, and has
/// no links in either form: pairs with such a pixel are passed over.
///
/// Areas are given in the coordinates of the graph's own area; planes, masks and labels
/// start at the area's first pixel. Pixels outside the graph's area are passed over.
///
/// Ownership: owns the node image, and flow graph and segment table unless they are shared.
///   Pictures are only read during a call.
/// Threads: one thread at a time.
/// Errors: a plane count or bit depth that is not known is reported once per place and
///   nothing is done. `std::bad_alloc` passes through and leaves a graph that only
///   `ReleaseGraph`, `Initialize` and the destructor may be called on.
/// Frozen: the order of the members.
class ImageGraph {
public:
    static constexpr unsigned short kDefaultNeighborhood = 8;
    using PixelEnergies = IP::RecycledVector<float>;

    ImageGraph() = default;
    explicit ImageGraph(unsigned short inNeighborhood) : mNeighborhood(inNeighborhood) {}
    ~ImageGraph();
    ImageGraph(const ImageGraph&) = delete;
    ImageGraph& operator=(const ImageGraph&) = delete;

    // ---- Building --------------------------------------------------------------------

    /// Starts over with an area, with a graph of its own if `inSharedGraph` is null; the
    /// last three arguments then count for nothing. An area without pixels stays empty.
    /// @param inNeighborhood  4, 8 or 20: how many neighbours of a pixel it is linked with.
    void Initialize(const GraphRect& inBounds, FlowGraph* inSharedGraph,
                    unsigned short inNeighborhood, std::vector<unsigned char>* inSharedSegments,
                    unsigned int inSource, unsigned int inSink);

    /// The same by size; the origin stays, for the caller to set.
    void Initialize(int inRows, int inColumns, FlowGraph* inSharedGraph,
                    unsigned short inNeighborhood, std::vector<unsigned char>* inSharedSegments,
                    unsigned int inSource, unsigned int inSink);

    /// One node for each region that MWSegment finds, with two terminal links of capacity
    /// 0. The size is the graph's own or smaller; the pixel energies have an entry for each
    /// pixel of the graph in any case, since a pixel's entry is found by its index there.
    /// @param inRowStride  in samples.
    void BuildRegionGraph(const void* inPlane0, const void* inPlane1, const void* inPlane2,
                          const void* inPlane3, int inRows, int inColumns, int inLeft,
                          int inTop, int inRowStride, int inPlanes, int inBitDepth,
                          float inTolerance, int inRadius);

    /// Pixel mode: a node with two terminal links for each pixel; then links of capacity 0
    /// between neighbours, of which there are none while the pixels have no nodes.
    void AddPixelNodes(int inRows, int inColumns);
    void AddPixelLinks(int inRows, int inColumns);

    /// Links of what a picture shows. A pair of neighbours with the mean squared difference
    /// D per plane (full scale 255, 32768 or 1) has the energy
    ///
    ///     inScale * exp(-(1.5 D / sigma²)^inExponent) / distance,   sigma = inSigma * scale
    ///
    /// The link of two regions has the sum over the pairs on their border, added to what it
    /// has; the link of two pixels is replaced.
    /// @param inRowStride  **in bytes**.
    /// @param inBuildLinks  adds the links that are missing; in pixel mode, all of them.
    void SetNeighborEnergies(const void* inPlane0, const void* inPlane1, const void* inPlane2,
                             const void* inPlane3, int inRows, int inColumns, int inLeft,
                             int inTop, int inRowStride, int inPlanes, int inBitDepth,
                             double inScale, double inSigma, double inExponent,
                             bool inBuildLinks);

    // ---- Strokes ---------------------------------------------------------------------

    /// Gives every pixel of the area its terminal energies. A sample above `inThreshold`
    /// is a stroke and binds its pixel to the foreground or the background by a capacity
    /// that is practically infinite; where both are set the foreground wins. Others get
    /// what `inMode` says; an `inMode` other than 1 to 4 leaves them as they are.
    ///
    /// A region's capacities are the sums over its pixels, kept up to date by differences.
    /// The graph's source must be node 0 and its sink node 1. `mTerminalEnergiesSet` and
    /// `mBiasTowardSource` are the caller's to set.
    ///
    /// @param inCurrentLabels,inCurrentLabelStride  not used.
    /// @param inFit  how probable the foreground is, 0 to 255; not read in strokes-only mode.
    /// Strides are in bytes.
    void SetTerminalEnergies(const unsigned char* inCurrentLabels, const unsigned char* inFit,
                             const unsigned char* inForeground,
                             const unsigned char* inBackground, double inBiasWeight,
                             TerminalEnergyMode inMode, bool inBiasTowardSource,
                             unsigned char inThreshold, int inRows, int inColumns, int inLeft,
                             int inTop, int inCurrentLabelStride, int inFitStride,
                             int inForegroundStride, int inBackgroundStride);

    /// The same for the pixels under a stroke alone; all others keep what they have, be it
    /// from an earlier stroke. Painting over an old stroke costs nothing.
    void SetStrokeEnergies(const unsigned char* inForeground, const unsigned char* inBackground,
                           unsigned char inThreshold, int inRows, int inColumns, int inLeft,
                           int inTop, int inForegroundStride, int inBackgroundStride);

    // ---- Results ---------------------------------------------------------------------

    /// 255 where the pixel's node is on the sink's side, else 0; nothing before a solve.
    /// @param inKeepDefault  leaves pixels without a node of their own as they are.
    void ExtractLabels(unsigned char* outLabels, int inRows, int inColumns, int inLeft,
                       int inTop, int inStride, bool inKeepDefault) const;

    /// Brings labels up to date that `ExtractLabels` gave of the whole area, without gaps
    /// between the rows, when the segments were `ioSegments`: only those of regions that
    /// have changed sides are written. Segments of another size stand for no labels yet,
    /// and all are written. Then `ioSegments` are the present ones.
    void UpdateLabels(unsigned char* ioLabels, std::vector<unsigned char>& ioSegments) const;

    /// Full scale (255, 32767 or 1.0, by depth 8, 16 or 32) where bit n mod 32 of word n / 32
    /// of `inRegionBits` is set, n being the pixel's node, else 0.
    /// @param inRowBytes  in bytes at every depth.
    void StampBorderRegionMask(void* outMask, int inRows, int inColumns, int inLeft, int inTop,
                               int inRowBytes, int inBitDepth,
                               const std::uint32_t* inRegionBits) const;

    /// @name Links of a node, terminal arcs left out; in list order, the newest first
    /// @{
    int GetLinkCount(unsigned int inNode) const;
    /// 0 for a position that there is not.
    double GetLinkCapacity(unsigned int inNode, int inPosition) const;
    /// Without links: the lowest double, the largest double, and 0.
    double GetLargestLinkCapacity(unsigned int inNode) const;
    double GetSmallestLinkCapacity(unsigned int inNode) const;
    double GetMeanLinkCapacity(unsigned int inNode) const;
    /// @}

    /// Source capacity minus sink capacity.
    double GetTerminalBalance(unsigned int inNode) const;

    // ---- Starting over ---------------------------------------------------------------

    /// The same regions in a new graph, without links and without energies. A shared graph
    /// and segment table are left to their owner and replaced by its own; a table that is
    /// its own stays, and `ExtractLabels` reads the old sides until the next solve.
    void ResetRegionGraph();

    /// Lets everything go but the mode and the neighbourhood.
    void ReleaseGraph();

    // ---- State, open to the clients ---------------------------------------------------

    FlowGraph* mFlowGraph = nullptr;
    std::unique_ptr<unsigned int[]> mNodeImage;  // mRows by mColumns, no padding
    std::int32_t mLeft = 0;
    std::int32_t mTop = 0;
    std::int32_t mRows = 0;
    std::int32_t mColumns = 0;
    unsigned short mNeighborhood = kDefaultNeighborhood;
    bool mTerminalEnergiesSet = false;
    bool mLinksBuilt = false;
    bool mOwnsFlowGraph = false;
    bool mValid = false;
    bool mBiasTowardSource = true;
    std::vector<unsigned char>* mSegments = nullptr;
    unsigned int mDefaultNode = 0;
    unsigned int mSourceNode = 0;
    unsigned int mSinkNode = 0;
    bool mRegionMode = false;
    unsigned int mRegionCount = 0;
    // One per pixel in region mode, else empty. The two operations on energies alone write
    // them, as `BuildRegionGraph` alone writes the node image of regions.
    PixelEnergies mPixelSourceEnergies;
    PixelEnergies mPixelSinkEnergies;
    std::int32_t mMaxRegionPixels = 1;

private:
    static constexpr unsigned int kFirstRegion = 2;  // its node: the first behind the sink

    void MakeOwnFlowGraph(std::unique_ptr<std::vector<unsigned char>> inSegments);
    template <class Energies>
    void SetRegionEnergies(const Energies& inEnergies, bool inBuildLinks);
    template <class Energies>
    void BuildRegionLinks(const Energies& inEnergies);
    template <class Energies, class Links, class Run>
    void AddBorders(const Energies& inEnergies, Links& ioLinks, Run inRun) const;
    template <class Energies>
    void SetPixelEnergies(const Energies& inEnergies, bool inBuildLinks);
    template <class Visit>
    void VisitPairs(const graphcut::PictureArea& inArea, std::ptrdiff_t inSampleStride,
                    Visit inVisit) const;
    struct GraphRow;
    class GraphRows;
    template <class Visit>
    void VisitPixels(int inRows, int inColumns, int inLeft, int inTop, Visit inVisit) const;
    template <class Visit>
    void VisitLinks(unsigned int inNode, Visit inVisit) const;
    bool SetFirstEnergies(const unsigned char* inForeground, const unsigned char* inBackground,
                          TerminalValues inUnstroked, unsigned char inThreshold);
    bool AwaitsFirstEnergies() const;
    void SetUnstrokedRegions(TerminalValues inUnstroked);
    void SetStrokedRegion(unsigned int inNode, const unsigned char* inForeground,
                          const unsigned char* inBackground, TerminalValues inUnstroked,
                          unsigned char inThreshold);
    template <class Visit>
    void VisitRegion(unsigned int inNode, Visit inVisit) const;
    template <class Visit>
    void SetEachPixel(Visit inVisit);
    void SetPixelTerminals(std::ptrdiff_t inPlace, float inSource, float inSink,
                           bool inSkipUnchanged);

    // What the fill knows of the regions of the whole area, or nothing. The pixel energies
    // are those of no operation yet where `mHasNoEnergies`.
    IP::RecycledVector<SegmentRegion> mRegions;
    int mRegionRadius = 0;
    bool mHasNoEnergies = false;
};

// ---- Tiles ---------------------------------------------------------------------------

/// A tile of the grid. Bottom and right are exclusive.
struct TileRecord {
    std::int32_t top;
    std::int32_t left;
    std::int32_t bottom;
    std::int32_t right;
    std::int32_t index;
};

/// A rectangle in tiles of one size, numbered along the rows; those of the last row and
/// column are clipped.
struct TileGrid {
    std::vector<TileRecord> mTiles;
    GraphRect mBounds;
    GraphRect mTileBounds;  // its height and width are the size of a tile
    std::int32_t mTileCount = 0;

    /// The number of the tile that (inX, inY) is in, or -1 outside the rectangle.
    int FindTile(int inX, int inY) const;
};

/// One flow graph over an image in tiles, so that a client builds nodes only for the part
/// of a large image that it works on. Each tile is an ImageGraph in pixel mode that shares
/// graph, segment table and terminals; it has no node image before it is activated.
///
///     +-----+-----+---+      Node numbers are those of the one graph: a link across a
///     |     |  p<-+-n |      seam is an ordinary link, found through the neighbour's
///     +-----+-----+---+      tile. It is added from the pixel that comes later in raster
///     |     |     |   |      order, once both tiles are active.
///     +-----+-----+---+
///
/// Source, sink and `mDefaultNode` are as in an ImageGraph. The graph is neither dynamic
/// nor persistent unless the client makes it so. No limit on size or number of tiles is
/// built in.
///
/// Ownership: graph, tiles and segment table are shared by all copies, and the last copy
///   frees them. A copy has its own list of active tiles.
/// Threads: one thread at a time over all copies.
/// Errors: a tile size below 1, or a neighbourhood other than 4, 8 or 20, breaks the
///   contract. A plane count or bit depth that is not known is reported once per place and
///   nothing is done.
/// Frozen: the order of the members.
class TiledImageGraph {
public:
    /// Tiles of `inTileSize` by `inTileSize`.
    TiledImageGraph(const GraphRect& inBounds, int inTileSize, unsigned short inNeighborhood);
    /// Tiles of the height and width of a rectangle.
    TiledImageGraph(const GraphRect& inBounds, const GraphRect& inTileBounds,
                    unsigned short inNeighborhood);
    TiledImageGraph(const TiledImageGraph& inOther);
    TiledImageGraph& operator=(const TiledImageGraph& inOther);
    ~TiledImageGraph();

    /// Gives a tile its node image. An index without a tile, or a tile that is active, is
    /// no error and does nothing.
    void ActivateTile(int inIndex);

    /// The operations of ImageGraph on every active tile, in order of the index.
    void AddPixelNodes();
    void AddPixelLinks();

    /// The tile at (inX, inY); null outside the bounds.
    ImageGraph* GetTile(int inX, int inY) const;
    /// Where the pixel's node number lies; null outside the bounds or the active tiles.
    unsigned int* GetNodeAt(int inX, int inY) const;

    /// Bind a pixel of an active tile to a side, giving it a node if it has none.
    void SetForegroundPixel(int inX, int inY);
    void SetBackgroundPixel(int inX, int inY);

    /// Sets the energies of the links from the pixels of the area that have a node, in the
    /// active tiles in the order of their activation. A neighbour may lie outside the area
    /// and up to the bounds: **the planes must reach that far**.
    /// @param ioLinkCount  counts the links added; may be null.
    /// The other arguments are those of `ImageGraph::SetNeighborEnergies`.
    void BuildLinksAndSetNeighborEnergies(const void* inPlane0, const void* inPlane1,
                                          const void* inPlane2, const void* inPlane3,
                                          int inRows, int inColumns, int inLeft, int inTop,
                                          int inRowStride, int inPlanes, int inBitDepth,
                                          unsigned int* ioLinkCount, double inScale,
                                          double inSigma, double inExponent, bool inBuildLinks);

    // ---- State, open to the clients ---------------------------------------------------

    FlowGraph* mFlowGraph = nullptr;
    ImageGraph* mTileGraphs = nullptr;  // mGrid.mTileCount of them
    unsigned short mNeighborhood = 0;
    TileGrid mGrid;
    std::list<int> mActiveTiles;  // in order of activation
    std::vector<unsigned char>* mSegments = nullptr;
    unsigned int mDefaultNode = 0;
    unsigned int mSourceNode = 0;
    unsigned int mSinkNode = 0;

private:
    struct Shared;

    void BindPixel(int inX, int inY, bool inToForeground);
    template <class Energies>
    void SetTileEnergies(const TileRecord& inTile, const Energies& inEnergies,
                         unsigned int* ioLinkCount, bool inBuildLinks);
    void SetPairEnergy(unsigned int inNode, unsigned int inNeighbor, float inEnergy,
                       unsigned int* ioLinkCount, bool inBuildLinks);

    TVK::ObjectPtr<Shared> mShared;
};
