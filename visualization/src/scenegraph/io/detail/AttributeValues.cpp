#include "scenegraph/io/detail/AttributeValues.h"

#include "scenegraph/io/detail/DatasetBlock.h"
#include "scenegraph/io/detail/TextChunks.h"

#include <algorithm>
#include <iterator>

#include <vtkDataArray.h>
#include <vtkDataSetAttributes.h>
#include <vtkLookupTable.h>
#include <vtkUnsignedCharArray.h>

namespace tsg::detail
{

bool hasTuples(vtkDataArray* array)
{
    return array != nullptr && array->GetNumberOfTuples() > 0;
}

bool anyTuples(vtkFieldData* fieldData)
{
    const int count = fieldData != nullptr ? fieldData->GetNumberOfArrays() : 0;
    for (int i = 0; i < count; ++i)
    {
        if (fieldData->GetAbstractArray(i)->GetNumberOfTuples() > 0)
        {
            return true;
        }
    }
    return false;
}

std::vector<int> ordinaryArrays(vtkFieldData& fieldData)
{
    constexpr int FORMAT_ATTRIBUTES = 8;
    int attributes[vtkDataSetAttributes::NUM_ATTRIBUTES];
    std::fill(std::begin(attributes), std::end(attributes), -1);
    if (auto* const set = vtkDataSetAttributes::SafeDownCast(&fieldData))
    {
        set->GetAttributeIndices(attributes);
    }
    int* const end = attributes + FORMAT_ATTRIBUTES;
    std::vector<int> places;
    for (int i = 0; i < fieldData.GetNumberOfArrays(); ++i)
    {
        if (std::find(attributes, end, i) == end)
        {
            places.push_back(i);
        }
    }
    return places;
}

int storedColors(vtkLookupTable* table)
{
    if (table == nullptr)
    {
        return 0;
    }
    const vtkIdType colors = table->GetNumberOfColors();
    if (table->GetTable()->GetNumberOfTuples() < colors)
    {
        table->Build();
    }
    return static_cast<int>(std::min(colors, table->GetTable()->GetNumberOfTuples()));
}

vtkSmartPointer<vtkDataArray> withNineComponents(vtkDataArray& tensors)
{
    constexpr int SYMMETRIC = 6;
    constexpr int SOURCES[] = {0, 3, 5, 3, 1, 4, 5, 4, 2};
    if (tensors.GetNumberOfComponents() != SYMMETRIC)
    {
        return &tensors;
    }
    auto full = vtkSmartPointer<vtkDataArray>::Take(vtkDataArray::CreateDataArray(tensors.GetDataType()));
    full->SetName(tensors.GetName());
    full->SetNumberOfComponents(static_cast<int>(std::size(SOURCES)));
    full->SetNumberOfTuples(tensors.GetNumberOfTuples());
    for (int i = 0; i < full->GetNumberOfComponents(); ++i)
    {
        full->CopyComponent(i, &tensors, SOURCES[i]);
    }
    return full;
}

void writeColorsAsText(std::ostream& out, const unsigned char* values, int tuples, int components)
{
    constexpr double MAX_BYTE = 255.0;
    TextChunks text(out);
    for (int tuple = 0; tuple < tuples; ++tuple)
    {
        for (int i = 0; i < components; ++i)
        {
            text.addNumber(*values++ / MAX_BYTE);
            text.add(' ');
        }
        if (tuple != 0 && tuple % 2 == 0)
        {
            text.add('\n');
        }
    }
    text.finish();
}

void writeTableAsText(std::ostream& out, vtkLookupTable& table, int colors)
{
    TextChunks text(out);
    for (int i = 0; i < colors; ++i)
    {
        double rgba[COLOR_BYTES];
        table.GetTableValue(i, rgba);
        for (int component = 0; component < COLOR_BYTES; ++component)
        {
            text.addNumber(rgba[component]);
            text.add(component + 1 < COLOR_BYTES ? ' ' : '\n');
        }
    }
    text.finish();
}

} // namespace tsg::detail
