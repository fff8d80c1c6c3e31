#pragma once

#include "RecordWalk.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tavosce
{

/// How the nodes of a record refer to each other, as a tree. Nodes are known by their place in the record.
struct NodeTree
{
    enum Occurrence
    {
        First, ///< the line that stands for the node
        Again, ///< a further reference to a node that has its line
        Cycle  ///< a reference to a node that this one hangs under, or to the node itself
    };

    struct Line
    {
        std::size_t node;
        std::size_t depth;  ///< 0 for a node that nothing above refers to
        std::size_t parent; ///< NONE at depth 0
        Occurrence occurrence;
    };

    static constexpr std::size_t NONE = static_cast<std::size_t>(-1);

    /// By node: those it refers to, each once; children in their order, the others behind them in that of the record.
    std::vector<std::vector<std::size_t>> references;
    std::size_t root = NONE;
    std::string problem;               ///< why there is no root; empty if there is one
    std::vector<Line> lines;           ///< from the root, depth first
    std::vector<Line> apart;           ///< the same from the nodes that cannot be reached from there
    std::vector<std::size_t> repeated; ///< nodes with the key of an earlier one, which no reference means
};

/// A reference is what loading takes for one: for nodes of known classes the children, for others every property name
/// and string that is the key of another node.
NodeTree treeOf(const std::string& rootKey, const RecordContents& contents);

} // namespace tavosce
