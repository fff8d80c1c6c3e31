#include "DatasetArrays.h"

#include <vector>

#include <vtkAbstractArray.h>
#include <vtkCellData.h>
#include <vtkDataArray.h>
#include <vtkNew.h>
#include <vtkPointData.h>

namespace tavosce
{

std::array<Section, 3> sectionsOf(vtkPolyData& dataset)
{
    if (dataset.GetFieldData() == nullptr)
    {
        dataset.SetFieldData(vtkNew<vtkFieldData>());
    }
    return {{{"point array", dataset.GetPointData()},
             {"cell array", dataset.GetCellData()},
             {"field array", dataset.GetFieldData()}}};
}

std::string arrayName(vtkAbstractArray* array)
{
    return array == nullptr || array->GetName() == nullptr ? "" : array->GetName();
}

void replaceArray(vtkFieldData& fields, vtkAbstractArray& array)
{
    std::vector<int> kinds;
    auto* const attributes = vtkDataSetAttributes::SafeDownCast(&fields);
    for (int kind = 0; attributes != nullptr && kind < vtkDataSetAttributes::NUM_ATTRIBUTES; ++kind)
    {
        const vtkAbstractArray* const active = attributes->GetAbstractAttribute(kind);
        if (active != nullptr && active == fields.GetAbstractArray(array.GetName()))
        {
            kinds.push_back(kind);
        }
    }
    fields.AddArray(&array);
    for (const int kind : kinds)
    {
        attributes->SetActiveAttribute(array.GetName(), kind);
    }
}

} // namespace tavosce
