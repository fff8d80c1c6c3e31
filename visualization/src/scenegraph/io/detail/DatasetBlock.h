#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include <vtkDataSetAttributes.h>
#include <vtkType.h>

/// The words of the dataset block, named once for its writer and its reader: docs/formats/dataset-block.md describes
/// the bytes. All of them are in the files: never change them. They are written as they stand here and recognised by
/// beginsWith, that is by prefix and in either case.
namespace tsg::detail
{

/// True if `token` begins with `word`, ASCII letters compared in either case.
constexpr bool beginsWith(std::string_view token, std::string_view word)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    if (token.size() < word.size())
    {
        return false;
    }
    for (std::size_t i = 0; i < word.size(); ++i)
    {
        if (lower(token[i]) != lower(word[i]))
        {
            return false;
        }
    }
    return true;
}

// --- Header ----------------------------------------------------------------------------------------------------------

constexpr std::string_view IDENTIFICATION = "# vtk DataFile Version 3.0";
/// A reader compares this many characters of the identification line: the version is not looked at.
constexpr std::size_t IDENTIFICATION_LENGTH = 20;
constexpr std::string_view ASCII_WORD = "ASCII";
constexpr std::string_view BINARY_WORD = "BINARY";
constexpr std::string_view DATASET_WORD = "DATASET";
constexpr std::string_view POLYDATA_WORD = "POLYDATA";

// --- Sections --------------------------------------------------------------------------------------------------------

constexpr std::string_view FIELD_WORD = "FIELD";
constexpr std::string_view POINTS_WORD = "POINTS";
constexpr std::string_view VERTICES_WORD = "VERTICES";
constexpr std::string_view LINES_WORD = "LINES";
constexpr std::string_view POLYGONS_WORD = "POLYGONS";
constexpr std::string_view TRIANGLE_STRIPS_WORD = "TRIANGLE_STRIPS";
constexpr std::string_view CELL_DATA_WORD = "CELL_DATA";
constexpr std::string_view POINT_DATA_WORD = "POINT_DATA";

// --- What VTK's reader takes for something else than the name of an array, in files of text
// ---------------------------

/// A line of its own in place of an array that cannot be stored.
constexpr std::string_view MISSING_ARRAY = "NULL_ARRAY";
/// Whatever begins a line so behind an array is taken for what later versions of the format store there.
constexpr std::string_view METADATA_WORD = "METADATA";

// --- Attribute records -----------------------------------------------------------------------------------------------

/// One kind of attribute that a point-data or cell-data section stores.
struct AttributeFormat
{
    int attribute;                ///< vtkDataSetAttributes::AttributeTypes
    std::string_view keyword;     ///< begins the record
    std::string_view defaultName; ///< written for an array without a name
    int components;               ///< per tuple; 0 where the header line tells
};

/// In the order in which a section stores them.
constexpr AttributeFormat SCALARS_FORMAT{vtkDataSetAttributes::SCALARS, "SCALARS", "scalars", 0};
constexpr AttributeFormat VECTORS_FORMAT{vtkDataSetAttributes::VECTORS, "VECTORS", "vectors", 3};
constexpr AttributeFormat NORMALS_FORMAT{vtkDataSetAttributes::NORMALS, "NORMALS", "normals", 3};
constexpr AttributeFormat TCOORDS_FORMAT{vtkDataSetAttributes::TCOORDS, "TEXTURE_COORDINATES", "tcoords", 0};
constexpr AttributeFormat TENSORS_FORMAT{vtkDataSetAttributes::TENSORS, "TENSORS", "tensors", 9};
constexpr AttributeFormat GLOBAL_IDS_FORMAT{vtkDataSetAttributes::GLOBALIDS, "GLOBAL_IDS", "global_ids", 1};

/// Scalars of unsigned chars, and the colours of scalars.
constexpr std::string_view COLOR_SCALARS_WORD = "COLOR_SCALARS";
constexpr std::string_view LOOKUP_TABLE_WORD = "LOOKUP_TABLE";
/// Bytes of one colour of a table: red, green, blue, alpha.
constexpr int COLOR_BYTES = 4;

/// The table name of scalars without colours of their own.
constexpr std::string_view DEFAULT_LOOKUP_TABLE = "default";
/// What a writer calls lookup tables and fields unless told otherwise.
constexpr const char* LOOKUP_TABLE_NAME = "lookup_table";
constexpr const char* FIELD_DATA_NAME = "FieldData";
/// The name of a field array without one.
constexpr std::string_view UNNAMED_ARRAY = "unknown";

// --- Type words ------------------------------------------------------------------------------------------------------

/// How the values of one VTK type are named and stored.
struct TypeWord
{
    std::string_view word;
    int vtkType;
    int width; ///< bytes of one stored value, little-endian; 0 for bits, which are packed and have no block
};

/// A reader tries these in this order by beginsWith: the order is part of the format. The 2-byte ids are unsigned.
constexpr TypeWord TYPE_WORDS[] = {
    {"bit", VTK_BIT, 0},
    {"char", VTK_CHAR, 1},
    {"unsigned_char", VTK_UNSIGNED_CHAR, 1},
    {"short", VTK_SHORT, 2},
    {"unsigned_short", VTK_UNSIGNED_SHORT, 2},
    {"vtkIdType:4", VTK_ID_TYPE, 4},
    {"vtkIdType:2", VTK_ID_TYPE, 2},
    {"int", VTK_INT, 4},
    {"unsigned_int", VTK_UNSIGNED_INT, 4},
    {"long", VTK_LONG, 4},
    {"unsigned_long", VTK_UNSIGNED_LONG, 4},
    {"float", VTK_FLOAT, 4},
    {"double", VTK_DOUBLE, 8},
};

/// Bytes of one id in the form for ids that are no larger than an unsigned short.
constexpr int SHORT_ID_WIDTH = 2;
/// Smallest block in bytes that is compressed.
constexpr std::uint64_t MIN_COMPRESSED_BYTES = 1024;

/// The row that a type word in a file denotes; null if none does.
constexpr const TypeWord* findTypeWord(std::string_view token)
{
    for (const TypeWord& row : TYPE_WORDS)
    {
        if (beginsWith(token, row.word))
        {
            return &row;
        }
    }
    return nullptr;
}

/// The first row of a VTK type code (of ids the 4-byte one); null for the codes that dataset blocks do not store.
constexpr const TypeWord* typeWordOf(int vtkType)
{
    for (const TypeWord& row : TYPE_WORDS)
    {
        if (row.vtkType == vtkType)
        {
            return &row;
        }
    }
    return nullptr;
}

} // namespace tsg::detail
