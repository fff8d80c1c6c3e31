#pragma once

#include "core/Export.h"
#include "core/Properties.h"
#include "scenegraph/ArrayList.h"
#include "scenegraph/DataNode.h"

#include <vtkLookupTable.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>
#include <vtkUnsignedCharArray.h>

#include <array>
#include <map>
#include <string>
#include <vector>

namespace tsg
{

/// A polydata taken apart: the geometry, a vtkPolyData of its own without arrays, and named point, cell and field
/// arrays, which hold numbers or strings.
///
/// Arrays would change the stamp of the polydata that carries them. Held apart, a mesh that stands still keeps its
/// stamp while its arrays come and go, and a writer stores it once. For the same reason `serialize` offers the same VTK
/// objects in every call as long as nobody exchanges or modifies them.
///
/// On disk field arrays are node data with `DataTag7`. The lookup table of an array is node data with `DataTag1`, four
/// unsigned chars a colour, under the name of the array, or, where another table has that name, with a number behind
/// it. Bit arrays are stored as bytes. The properties say which arrays are active attributes ("ActivePointData": kind
/// of attribute to array name), which were bits ("PointBitArrays": array name to 1), which table an array has
/// ("PointLookupTables": array name to "Table" and "Range"), how its components are called ("PointComponentNames":
/// array name to number to name), and hold the arrays of strings ("PointStringArrays": array name to "Place",
/// "Components" and "Values"); likewise for cells and, without active ones, for fields. An entry of another form stays
/// where it is. The properties of a node are one property tag: strings that would make it longer than 64 MiB cannot be
/// written.
class TAVO_EXPORT PolyDataNode : public DataNode
{
public:
    enum Association
    {
        Points,
        Cells,
        Fields
    };

    enum class Geometry
    {
        Replace,
        Keep
    };

    static const std::string& getClassName();

    explicit PolyDataNode(std::string objectKey);
    ~PolyDataNode() override;

    /// The polydata without arrays, or null. It belongs to the node: its structure may be read, arrays not added.
    vtkPolyData* getGeometry() const { return _geometry; }

    /// Makes a new geometry object that shares points and cells with `polys`; null leaves the node without one.
    void setGeometry(vtkPolyData* polys);

    /// Adds an array, or puts it into the place of the one of that name. The node shares it, with its lookup table.
    /// Raises InternalError for null, for an array without a name, and for one that ArrayList does not hold.
    void setArray(Association association, vtkAbstractArray* array) { _arrays[association].set(array); }

    /// False when there is no array of that name.
    bool removeArray(Association association, const std::string& name) { return _arrays[association].remove(name); }

    /// Null when there are no numbers of that name.
    vtkDataArray* findArray(Association association, const std::string& name) const
    {
        return vtkDataArray::SafeDownCast(_arrays[association].find(name));
    }

    /// Null when there are no strings of that name.
    vtkStringArray* findStrings(Association association, const std::string& name) const
    {
        return vtkStringArray::SafeDownCast(_arrays[association].find(name));
    }

    const ArrayList& getArrays(Association association) const { return _arrays[association]; }

    /// The name of the active attribute of a kind (vtkDataSetAttributes::AttributeTypes), empty for none; fields have
    /// none.
    std::string getActive(Association association, int attributeType) const;
    /// An empty name means none. The array need not be there yet. Nothing happens for fields and for unknown kinds.
    void setActive(Association association, int attributeType, const std::string& name);

    /// Takes a polydata apart: all arrays and active attributes are replaced by its own, and the geometry if asked for.
    /// Raises InternalError, with nothing changed, for null, for arrays that `setArray` raises it for, and for two
    /// arrays of one association with the same name.
    void setPolyData(vtkPolyData* polys, Geometry geometry = Geometry::Replace);

    /// A new polydata that shares structure and arrays with the node; it has the active attributes, and the arrays have
    /// their lookup tables. Point and cell arrays whose tuples do not match the geometry would lead filters out of
    /// bounds: they are left out, and their names added to `misfits`, which may be null.
    vtkSmartPointer<vtkPolyData> assemble(std::vector<std::string>* misfits = nullptr) const;

    /// The properties as `serialize` writes them, with all that is said of the arrays.
    Properties describe() const;

    /// A lookup table goes with its array. Strings are properties, and stay.
    void removeData(const DataTest& unwanted) override;
    void serialize(NodeStream& stream) const override;
    void interpretData() override;

private:
    using Colours = std::map<std::string, vtkSmartPointer<vtkUnsignedCharArray>>; ///< by the name of the table

    /// Tables on their way back to their arrays.
    struct StoredTables
    {
        Colours colours;
        std::map<std::string, vtkSmartPointer<vtkLookupTable>> made; ///< by name and range
    };

    /// False for data that is none of a geometry node, or one too many.
    bool take(const NodeData& piece);
    /// Geometry that another program stored may carry arrays: they are held like those that come on their own.
    void separateArrays();
    void setActives(Association association, vtkPolyData& polys);
    void restoreBits(Association association);
    void restoreTables(Association association, StoredTables& stored);
    void restoreStrings(Association association);
    void restoreComponentNames(Association association);
    void describeTables(Properties& properties) const;

    vtkSmartPointer<vtkPolyData> _geometry;
    std::array<ArrayList, 3> _arrays; ///< by Association
    // Tables hand out no lasting array of their colours; writers recognise unchanged data by its object.
    mutable Colours _colours;
};

} // namespace tsg
