#pragma once

#include "BlockCheck.h"
#include "Json.h"
#include "RecordWalk.h"

#include <cstddef>
#include <string>

namespace tavosce
{

/// The members that tell what a record's header says.
void writeRecordHeader(Json& json, std::size_t index, const Properties& header);

/// One node: its key and its properties; a file name is added if there is one.
void writeNode(Json& json, const StoredNode& node, const std::string& file = {});

void writeBlock(Json& json, const StoredBlock& block);

/// The arrays "nodes" and "blocks" of a record.
void writeNodes(Json& json, const RecordContents& contents);
void writeBlocks(Json& json, const RecordContents& contents);

/// What VTK calls values of this type.
std::string typeName(int vtkType);

/// How many values an array block has, and of which type: "5 x 3 float".
std::string shapeOf(const StoredBlock& array);

} // namespace tavosce
