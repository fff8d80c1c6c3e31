#pragma once

/// Where the files of a scene directory are, below its path. Other programs look for them there: never to be changed.
namespace tsg::detail
{

constexpr char SCENE_FILE[] = "/scene.tsg";
constexpr char DATA_DIRECTORY[] = "/tsg";
constexpr char POLY_DATA_EXTENSION[] = ".polyData";
constexpr char DATA_ARRAY_EXTENSION[] = ".dataArray";

} // namespace tsg::detail
