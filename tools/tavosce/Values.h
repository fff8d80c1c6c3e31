#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <vtkCellArray.h>
#include <vtkDataArray.h>
#include <vtkSmartPointer.h>

namespace tavosce
{

/// Part of a list, as Python writes it: either end may be missing, negative ones count from the list's end, and what is
/// beyond the list is cut off.
struct Slice
{
    std::optional<std::int64_t> begin;
    std::optional<std::int64_t> end;

    /// The first place and the one behind the last of `count`.
    std::pair<std::size_t, std::size_t> of(std::size_t count) const;
};

/// "A:B", "A:", ":B" or ":"; none for any other text.
std::optional<Slice> parseSlice(const std::string& text);

/// What can be said about numbers at a glance. Least, greatest and mean are those of the finite ones, and exact but for
/// the mean; empty if there are none.
struct Statistics
{
    std::string subject; ///< which numbers
    std::uint64_t count = 0;
    std::string least, greatest, mean;
    std::uint64_t nan = 0;
    std::uint64_t infinite = 0;
};

/// The values of an array, tuple by tuple, or the points of cells, cell by cell.
class Values
{
public:
    /// Neither of them is changed or may change as long as this is used.
    explicit Values(vtkDataArray& array);
    explicit Values(vtkCellArray& cells);

    std::size_t size() const;

    /// What VTK calls the type of the values, and how many there are in a tuple; 0 if that varies.
    std::string type() const;
    int components() const;

    /// Hands out tuple by tuple, each value as the shortest decimal that gives it back. The list is that of the callee
    /// until the next one comes. Throws Interruption if the user wants to stop.
    void visit(const Slice& slice, const std::function<void(const std::vector<std::string>& tuple)>& visitor) const;

    /// Of each component; of cells: of how many points they have, and of the ids of those.
    std::vector<Statistics> statistics(const Slice& slice) const;

private:
    vtkSmartPointer<vtkDataArray> _array; ///< null for cells
    vtkSmartPointer<vtkCellArray> _cells; ///< null for an array
};

} // namespace tavosce
