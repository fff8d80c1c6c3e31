#pragma once

#include "scenegraph/io/SDB.h"
#include "support/Testing.h"

/// Raw dataset blocks, put together from text and binary blocks.
namespace test
{

/// The header of a block of polydata.
inline std::string header(const std::string& fileType = "BINARY")
{
    return "# vtk DataFile Version 3.0\nvtk output\n" + fileType + "\nDATASET POLYDATA\n";
}

/// The values as one block, with the line feed behind it; nothing but that for no values.
template <class T>
std::string block(const std::vector<T>& values, tsg::CompressionMethods method = tsg::CompressionMethods::None)
{
    if (values.empty())
    {
        return "\n";
    }
    std::ostringstream out;
    sdb::writeCompressed(out, reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T), method);
    return out.str() + "\n";
}

/// A points section of `count` points: (0, 1, 2), (3, 4, 5) and so on.
inline std::string points(int count)
{
    std::vector<float> values;
    for (int i = 0; i < 3 * count; ++i)
    {
        values.push_back(static_cast<float>(i));
    }
    return "POINTS " + std::to_string(count) + " float\n" + block(values);
}

/// A section of cells as its connectivity list tells, with the counts that its header is to state.
inline std::string cells(const std::string& keyword, int cellCount, const std::vector<int>& list, int size)
{
    return keyword + " " + std::to_string(cellCount) + " " + std::to_string(size) + "\n" + block(list) + "\n";
}

inline std::string cells(const std::string& keyword, int cellCount, const std::vector<int>& list)
{
    return cells(keyword, cellCount, list, static_cast<int>(list.size()));
}

} // namespace test
