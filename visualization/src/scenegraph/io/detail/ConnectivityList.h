#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>

class vtkCellArray;

namespace tsg::detail
{

/// The cells of a cell array as the files store them: for each cell the number of its points, then their ids, all as
/// 32-bit integers.
class ConnectivityList
{
public:
    explicit ConnectivityList(vtkCellArray& cells);

    /// Empty if the cells can be stored; otherwise why not. There is no list then.
    const std::string& refusal() const { return _refusal; }

    const std::int32_t* begin() const { return _list.get(); }

    const std::int32_t* end() const { return _list.get() + _size; }

    /// Integers in the list.
    std::int64_t size() const { return _size; }

    /// Writes the list as lines of text, one a cell.
    void writeAsText(std::ostream& out) const;

private:
    struct Builder;

    std::unique_ptr<std::int32_t[]> _list;
    std::int64_t _size = 0;
    std::string _refusal;
};

} // namespace tsg::detail
