#pragma once

#include <iosfwd>
#include <vector>

#include <vtkSmartPointer.h>

class vtkDataArray;
class vtkFieldData;
class vtkLookupTable;

/// What the writers of both text formats need to know of attributes, colours and field data.
namespace tsg::detail
{

bool hasTuples(vtkDataArray* array);

/// True if any array of a field data, which may be null, has tuples.
bool anyTuples(vtkFieldData* fieldData);

/// The places of the arrays that belong into a field section. Attributes have records of their own, or none: pedigree
/// ids and edge flags are not stored. The kinds that VTK has added since are ordinary arrays to the formats.
std::vector<int> ordinaryArrays(vtkFieldData& fieldData);

/// The colours that a table really holds. A table that was never built holds none until it is.
int storedColors(vtkLookupTable* table);

/// The tensors themselves, or for symmetric ones, which keep six components in VTK (xx, yy, zz, xy, yz, xz), a copy
/// with all nine.
vtkSmartPointer<vtkDataArray> withNineComponents(vtkDataArray& tensors);

/// Writes colour scalars as text, with a line break after every second tuple from the third on.
void writeColorsAsText(std::ostream& out, const unsigned char* values, int tuples, int components);

/// Writes the first colours of a table as lines of text.
void writeTableAsText(std::ostream& out, vtkLookupTable& table, int colors);

} // namespace tsg::detail
