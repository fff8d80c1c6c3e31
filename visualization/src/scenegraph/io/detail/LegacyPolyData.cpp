#include "scenegraph/io/detail/LegacyPolyData.h"

#include "scenegraph/io/detail/LegacyTextCheck.h"
#include "scenegraph/io/detail/Limits.h"
#include "scenegraph/io/detail/StoredArray.h"
#include "scenegraphcommon/Logger.h"

#include <clocale>
#include <cstdint>

#include <vtkCellData.h>
#include <vtkDataArray.h>
#include <vtkFieldData.h>
#include <vtkNew.h>
#include <vtkObjectFactory.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkPolyDataReader.h>

namespace tsg::detail
{

namespace
{

LogSite missingArrays(Logger::Warning, "visualization/src/scenegraph/io/SceneGraphReader", 241);

/// Bytes that are taken for each byte of text while it is read: VTK copies it more than once, and values that are no
/// numbers, four bytes of text, are remembered apart.
constexpr std::uint64_t SCRATCH_FACTOR = 16;

/// VTK's reader, with access to the way in which it turns words of the text into names.
class Reader : public vtkPolyDataReader
{
public:
    static Reader* New();
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    std::string nameOf(const std::string& word)
    {
        std::string name(word.size() + 1, '\0');
        this->DecodeString(name.data(), word.c_str());
        return name.c_str(); // NOLINT(readability-redundant-string-cstr): up to the first zero
    }

protected:
    Reader() = default;
    ~Reader() override = default;
};

vtkStandardNewMacro(Reader);

/// Puts the C locale of the process back, which VTK's reader sets to "C".
class LocaleKeeper
{
public:
    LocaleKeeper()
        : _name(std::setlocale(LC_ALL, nullptr))
    {
    }

    ~LocaleKeeper() { (void)std::setlocale(LC_ALL, _name.c_str()); }

    LocaleKeeper(const LocaleKeeper&) = delete;
    LocaleKeeper& operator=(const LocaleKeeper&) = delete;

private:
    std::string _name;
};

vtkDataArray* findArray(vtkPolyData& data, ArrayPlace place, const std::string& name)
{
    switch (place)
    {
    case ArrayPlace::Points:
        return data.GetPoints()->GetData();
    case ArrayPlace::Fields:
        return data.GetFieldData()->GetArray(name.c_str());
    case ArrayPlace::CellData:
        return data.GetCellData()->GetArray(name.c_str());
    case ArrayPlace::PointData:
        return data.GetPointData()->GetArray(name.c_str());
    }
    return nullptr;
}

void putBack(const ReplacedValues& replaced, const std::string& name, vtkPolyData& data)
{
    vtkDataArray* const array = findArray(data, replaced.place, name);
    if (array == nullptr || array->GetNumberOfValues() != replaced.valueCount)
    {
        return; // the reader has dropped it for another one of that name
    }
    const int components = array->GetNumberOfComponents();
    for (const ReplacedValue& value : replaced.values)
    {
        array->SetComponent(value.index / components, static_cast<int>(value.index % components), value.value);
    }
    array->Modified();
}

} // namespace

vtkSmartPointer<vtkPolyData> readLegacyPolyData(std::string text, sdb::detail::MemoryBudget& budget)
{
    const sdb::detail::Charge scratch(budget, SCRATCH_FACTOR * text.size());
    if (text.size() > static_cast<std::size_t>(MAX_STORED) || !scratch.granted())
    {
        return nullptr;
    }
    LegacyTextCheck check(text, budget);
    if (!check.passes())
    {
        return nullptr;
    }
    vtkNew<Reader> reader;
    {
        const LocaleKeeper locale;
        reader->SetInputString(text.data(), static_cast<int>(text.size()));
        reader->ReadFromInputStringOn();
        reader->Update();
    }
    vtkSmartPointer<vtkPolyData> data = reader->GetOutput();
    if (data == nullptr || data->GetPoints() == nullptr || data->GetNumberOfPoints() != check.pointCount() ||
        data->GetNumberOfCells() != check.cellCount())
    {
        return nullptr;
    }
    if (check.missingArrays() > 0)
    {
        missingArrays.log("SceneGraphReader: " + std::to_string(check.missingArrays()) +
                          " arrays that a polydata counts are not in its text");
    }
    for (const ReplacedValues& replaced : check.replaced())
    {
        putBack(replaced, reader->nameOf(replaced.name), *data);
    }
    return data;
}

} // namespace tsg::detail
