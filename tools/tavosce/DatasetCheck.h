#pragma once

#include "Report.h"

#include <string>

#include <vtkPolyData.h>

namespace tavosce
{

/// Makes a dataset fit to be taken apart by a tsg::PolyDataNode and stored, in place; `place` is how messages name it:
///   - arrays without a name get one, which is noted
///   - 64-bit `long` values that need more than 4 bytes move to an array of 64-bit integers
///   - a dataset without points gets an empty points object
///   - arrays that cannot be stored (neither numbers nor strings, ids beyond 32 bits, 2 GiB and more, strings and names
///   of
///     components beyond what a node's properties have room for) are left out and noted if `skipUnsupported`
/// Throws Failure: NotStorable for such arrays otherwise, after one error line for each of them, and for geometry
/// beyond what the format holds; TooDamaged for cells that refer to points that are not there.
void makeStorable(vtkPolyData& dataset, const std::string& place, bool skipUnsupported, Report& report);

} // namespace tavosce
