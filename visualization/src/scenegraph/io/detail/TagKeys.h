#pragma once

/// The keys and fixed texts of property tags. They are stored in files: never to be changed.
namespace sdb::detail::key
{

// File header
constexpr char UUID[] = "UUID";
constexpr char FILE_FORMAT_VERSION[] = "FileFormatVersion";
constexpr char PRODUCT_NAME[] = "ProductName";
constexpr char RELEASE_NUMBER[] = "ReleaseNumber";

// What a tag is, and where that which it describes lies
constexpr char DATA_FIELD[] = "DataField";
constexpr char FILE_POS[] = "FilePos";
constexpr char LENGTH[] = "Length";

// Record header
constexpr char VERSION[] = "Version";
constexpr char SESSION_ID[] = "SessionID";
constexpr char ROOT_NODE_KEY[] = "RootNodeKey";
constexpr char TITLE[] = "Title";
constexpr char DESCRIPTION[] = "Description";
constexpr char FRAME[] = "Frame";
constexpr char BINARY_DATA[] = "BinaryData";

// Class versions and nodes
constexpr char VERSIONS[] = "Versions";
constexpr char OBJECT_KEY[] = "ObjectKey";
constexpr char PROPERTIES[] = "Properties";

// Blocks
constexpr char TAG[] = "Tag";
constexpr char MTIME[] = "MTime";
constexpr char NAME[] = "Name";
constexpr char DATA_TYPE[] = "DataType";
constexpr char NUMBER_OF_COMPONENTS[] = "NumberOfComponents";
constexpr char NUMBER_OF_TUPLES[] = "NumberOfTuples";

// Data files of scene directories
constexpr char SIZE[] = "Size";

// Thumbnail
constexpr char RECORD_INDEX[] = "RecordIndex";
constexpr char WIDTH[] = "Width";
constexpr char HEIGHT[] = "Height";

} // namespace sdb::detail::key

/// The values of "DataField".
namespace sdb::detail::field
{

constexpr char HEADER[] = "Header";
constexpr char CLASS_VERSIONS[] = "ClassVersions";
constexpr char NODE[] = "Node";
constexpr char BINARY_DATA[] = "BinaryData";
constexpr char THUMBNAIL[] = "Thumbnail";

} // namespace sdb::detail::field
