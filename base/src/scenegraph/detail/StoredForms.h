#pragma once

#include "core/Properties.h"
#include "scenegraph/ArrayList.h"

#include <vtkAbstractArray.h>
#include <vtkBitArray.h>
#include <vtkLookupTable.h>
#include <vtkSmartPointer.h>
#include <vtkStringArray.h>
#include <vtkUnsignedCharArray.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>

/// The forms in which a geometry node stores what streams do not carry as it is, and the ways back.
namespace tsg::detail
{

using Range = std::array<double, 2>;

/// An array of the same name and shape with a byte, 0 or 1, for each bit. Answers `previous` if that stands for the
/// same bits already (it may be null), else a new array.
vtkSmartPointer<vtkUnsignedCharArray> bytesOfBits(vtkBitArray& bits, vtkUnsignedCharArray* previous);
/// A new bit array of the same name and shape; bytes other than 0 are set bits.
vtkSmartPointer<vtkBitArray> bitsOfBytes(vtkUnsignedCharArray& bytes);

/// The colours of a table, four bytes each, as an array of the given name. Answers `previous` if that holds the same
/// already (it may be null), else a new array; null for a table without colours. A table that was never built is built
/// first, since its memory holds no colours yet.
vtkSmartPointer<vtkUnsignedCharArray> coloursOf(vtkLookupTable& table, const std::string& name,
                                                vtkUnsignedCharArray* previous);
/// True if an array can be the colours of a table.
bool holdsColours(vtkUnsignedCharArray& array);
/// A new table; the colours have to satisfy `holdsColours`, and the range must not fall.
vtkSmartPointer<vtkLookupTable> tableOf(vtkUnsignedCharArray& colours, const Range& range);

/// Two numbers with a blank between them, in the fewest digits that read back as the same doubles.
std::string rangeText(const Range& range);
/// The range of such a text; none for any other text and for a range that falls.
std::optional<Range> rangeOfText(const std::string& text);

/// The names of an array's components by their numbers, up to the last that has one; 0 stands for one without. Empty
/// for an array without such names.
Properties componentNamesOf(vtkAbstractArray& array);
/// Gives the components their names. False, and nothing done, for a record that `componentNamesOf` does not make of an
/// array with as many components.
bool nameComponents(vtkAbstractArray& array, const Properties& names);

/// Strings and their place among the arrays: "Place", "Components", and "Values", the strings by their numbers.
Properties stringsEntry(vtkStringArray& array, std::size_t place);
/// A new array of that name; none for an entry that `stringsEntry` does not make.
std::optional<ArrayList::Placed> stringsOfEntry(const std::string& name, const Properties& entry);

} // namespace tsg::detail
