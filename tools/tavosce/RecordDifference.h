#pragma once

#include "ArrayDifference.h"
#include "ComparedScenes.h"
#include "Difference.h"
#include "Report.h"

#include <functional>
#include <set>
#include <string>
#include <utility>

namespace tavosce
{

/// Compares pairs of records of two scenes. Nodes are matched by object key, blocks by owner, kind and name; neither
/// their order counts nor that of properties and arrays.
class RecordComparison
{
public:
    /// Told how much of a pair of records is done, from 0 to 1.
    using Progress = std::function<void(double done)>;

    /// `sameFile`: both records are in one file, so that blocks with the same payload are equal and are not loaded. The
    /// report has to outlive this object.
    RecordComparison(const Tolerance& tolerance, bool sameFile, Report& report);

    /// Compares two records; of the data never more than one block of each is loaded at a time. False if a block could
    /// not be loaded and so was not compared: it has been reported as an error.
    bool compare(ComparedRecord& left, ComparedRecord& right, Differences& differences, const Progress& progress);

private:
    bool compareBlocks(ComparedRecord& left, ComparedRecord& right, const std::set<std::string>& lonelyNodes,
                       Differences& differences, const Progress& progress);
    bool compareData(const ComparedBlock& left, const ComparedBlock& right, Differences& differences);
    bool isKnownEqual(const ComparedBlock& left, const ComparedBlock& right) const;
    bool load(const ComparedBlock& block, BlockData& data);

    Tolerance _tolerance;
    bool _sameFile;
    Report& _report;
    std::set<std::pair<Payload, Payload>> _equal; ///< what earlier records have shown
};

} // namespace tavosce
