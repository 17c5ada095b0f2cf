#include "Peers.h"

#ifdef DP_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/imgproc/detail/gcgraph.hpp>
#endif
#ifdef DP_HAVE_BOOST
#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/boykov_kolmogorov_max_flow.hpp>
#endif

namespace Bench {

#ifdef DP_HAVE_OPENCV

double SolveByGCGraph(const GraphList& inGraph) {
    const int nodes = static_cast<int>(inGraph.mFromSource.size());
    cv::detail::GCGraph<float> graph(static_cast<unsigned int>(nodes),
                                     static_cast<unsigned int>(2 * inGraph.mLinks.size()));
    for (int i = 0; i < nodes; ++i)
        graph.addTermWeights(graph.addVtx(), inGraph.mFromSource[std::size_t(i)],
                             inGraph.mToSink[std::size_t(i)]);
    for (const auto& link : inGraph.mLinks)
        graph.addEdges(GraphList::Index(link.mFrom), GraphList::Index(link.mTo), link.mCapacity,
                       link.mCapacity);
    return graph.maxFlow();
}

namespace {

cv::Mat Colours(const Frame& inFrame) {
    const cv::Mat packed(inFrame.mRows, inFrame.mColumns, CV_8UC4,
                         const_cast<unsigned char*>(inFrame.mPixels.data()));
    cv::Mat colours;
    cv::cvtColor(packed, colours, cv::COLOR_BGRA2BGR);
    return colours;
}

}  // namespace

bool RunWatershed(const Frame& inFrame, int inSpacing) {
    const cv::Mat colours = Colours(inFrame);
    cv::Mat markers(inFrame.mRows, inFrame.mColumns, CV_32S, cv::Scalar(0));
    int marker = 0;
    for (int y = inSpacing / 2; y < inFrame.mRows; y += inSpacing)
        for (int x = inSpacing / 2; x < inFrame.mColumns; x += inSpacing)
            markers.at<int>(y, x) = ++marker;
    cv::watershed(colours, markers);
    return true;
}

bool RunGrabCut(const Frame& inFrame) {
    const cv::Mat colours = Colours(inFrame);
    cv::Mat mask(inFrame.mRows, inFrame.mColumns, CV_8U, cv::Scalar(cv::GC_PR_BGD));
    const cv::Mat foreground(inFrame.mRows, inFrame.mColumns, CV_8U,
                             inFrame.mForeground->GetData());
    const cv::Mat background(inFrame.mRows, inFrame.mColumns, CV_8U,
                             inFrame.mBackground->GetData());
    mask.setTo(cv::GC_BGD, background);
    mask.setTo(cv::GC_FGD, foreground);
    cv::Mat backgroundModel, foregroundModel;
    cv::grabCut(colours, mask, {}, backgroundModel, foregroundModel, 1, cv::GC_INIT_WITH_MASK);
    return true;
}

#else

double SolveByGCGraph(const GraphList&) { return -1; }
bool RunWatershed(const Frame&, int) { return false; }
bool RunGrabCut(const Frame&) { return false; }

#endif

#ifdef DP_HAVE_BOOST

double SolveByBoost(const GraphList& inGraph) {
    using namespace boost;
    using Traits = adjacency_list_traits<vecS, vecS, directedS>;
    using Vertex = property<vertex_color_t, default_color_type,
                            property<vertex_distance_t, long,
                                     property<vertex_predecessor_t, Traits::edge_descriptor>>>;
    using Edge = property<edge_capacity_t, float,
                          property<edge_residual_capacity_t, float,
                                   property<edge_reverse_t, Traits::edge_descriptor>>>;
    using Graph = adjacency_list<vecS, vecS, directedS, Vertex, Edge>;

    const std::size_t nodes = inGraph.mFromSource.size();
    Graph graph(nodes + 2);
    const auto addPair = [&](std::size_t inFrom, std::size_t inTo, float inCapacity,
                             float inReverseCapacity) {
        const auto there = add_edge(inFrom, inTo, graph).first;
        const auto back = add_edge(inTo, inFrom, graph).first;
        put(edge_capacity, graph, there, inCapacity);
        put(edge_capacity, graph, back, inReverseCapacity);
        put(edge_reverse, graph, there, back);
        put(edge_reverse, graph, back, there);
    };
    for (std::size_t i = 0; i < nodes; ++i) {
        if (inGraph.mFromSource[i] > 0) addPair(nodes, i, inGraph.mFromSource[i], 0);
        if (inGraph.mToSink[i] > 0) addPair(i, nodes + 1, inGraph.mToSink[i], 0);
    }
    for (const auto& link : inGraph.mLinks)
        addPair(std::size_t(GraphList::Index(link.mFrom)),
                std::size_t(GraphList::Index(link.mTo)), link.mCapacity, link.mCapacity);
    return boykov_kolmogorov_max_flow(graph, nodes, nodes + 1);
}

#else

double SolveByBoost(const GraphList&) { return -1; }

#endif

}  // namespace Bench
