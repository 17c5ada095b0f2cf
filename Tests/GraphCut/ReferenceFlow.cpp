#include "FlowModel.h"

#if defined(DP_HAVE_BOOST)

#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/push_relabel_max_flow.hpp>

namespace Testing {
namespace {

using Traits = boost::adjacency_list_traits<boost::vecS, boost::vecS, boost::directedS>;
using Graph = boost::adjacency_list<
    boost::vecS, boost::vecS, boost::directedS, boost::no_property,
    boost::property<
        boost::edge_capacity_t, long,
        boost::property<boost::edge_residual_capacity_t, long,
                        boost::property<boost::edge_reverse_t, Traits::edge_descriptor>>>>;

void AddPair(Graph& ioGraph, unsigned int inFrom, unsigned int inTo, int inCapacity,
             int inReverseCapacity) {
    const auto there = boost::add_edge(inFrom, inTo, ioGraph).first;
    const auto back = boost::add_edge(inTo, inFrom, ioGraph).first;
    boost::put(boost::edge_capacity, ioGraph, there, inCapacity);
    boost::put(boost::edge_capacity, ioGraph, back, inReverseCapacity);
    boost::put(boost::edge_reverse, ioGraph, there, back);
    boost::put(boost::edge_reverse, ioGraph, back, there);
}

}  // namespace

std::optional<long long> ReferenceFlow(const FlowModel& inModel) {
    Graph graph(inModel.mNodes.size() + 2);
    for (std::size_t i = 0; i < inModel.mNodes.size(); ++i) {
        AddPair(graph, 0, unsigned(i + 2), inModel.mNodes[i].mFromSource, 0);
        AddPair(graph, unsigned(i + 2), 1, inModel.mNodes[i].mToSink, 0);
    }
    for (const ModelLink& link : inModel.mLinks)
        AddPair(graph, link.mFrom, link.mTo, link.mCapacity, link.mReverseCapacity);
    return boost::push_relabel_max_flow(graph, 0, 1);
}

}  // namespace Testing

#else

namespace Testing {

std::optional<long long> ReferenceFlow(const FlowModel&) { return std::nullopt; }

}  // namespace Testing

#endif
