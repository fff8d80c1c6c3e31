#pragma once

#include "NodeDataset.h"

#include <string>

namespace tavosce
{

/// Writes the data of a node as .vtp file; `place` is how messages name it. Throws Failure CannotWrite, also if VTK's
/// writer crashes, and Interruption; what has been made of the file is left behind.
void writeDataset(const NodeDataset& dataset, const std::string& path, const std::string& place);

} // namespace tavosce
