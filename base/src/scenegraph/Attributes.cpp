#include "scenegraph/Attributes.h"

#include <utility>

namespace tsg
{

namespace
{

constexpr const char* DATA_ARRAY_NAME = "DataArrayName";
constexpr const char* RIBBON_ORIENTATION = "RibbonOrientation";
constexpr const char* SMOOTH_SHADED = "SmoothShaded";

} // namespace

const std::string& DataArrayAttributes::getClassName()
{
    static const std::string name = "DataArrayAttributes";
    return name;
}

DataArrayAttributes::DataArrayAttributes(std::string objectKey)
    : DataNode(std::move(objectKey), getClassName(), 1)
{
}

DataArrayAttributes::~DataArrayAttributes() = default;

const std::string& DataArrayAttributes::getDataArrayName() const
{
    return getProperties().getString(DATA_ARRAY_NAME);
}

void DataArrayAttributes::setDataArrayName(const std::string& name)
{
    properties().set(DATA_ARRAY_NAME, name, Properties::Overwrite);
}

const std::string& RibbonAttributes::getClassName()
{
    static const std::string name = "RibbonAttributes";
    return name;
}

RibbonAttributes::RibbonAttributes(std::string objectKey)
    : DataNode(std::move(objectKey), getClassName(), 1)
{
}

RibbonAttributes::~RibbonAttributes() = default;

int RibbonAttributes::getRibbonOrientation() const
{
    return getProperties().getInt(RIBBON_ORIENTATION);
}

void RibbonAttributes::setRibbonOrientation(int orientation)
{
    properties().set(RIBBON_ORIENTATION, orientation, Properties::Overwrite);
}

const std::string& SurfaceAttributes::getClassName()
{
    static const std::string name = "SurfaceAttributes";
    return name;
}

SurfaceAttributes::SurfaceAttributes(std::string objectKey)
    : DataNode(std::move(objectKey), getClassName(), 1)
{
}

SurfaceAttributes::~SurfaceAttributes() = default;

bool SurfaceAttributes::getSmoothShaded() const
{
    return getProperties().getInt(SMOOTH_SHADED) != 0;
}

void SurfaceAttributes::setSmoothShaded(bool smooth)
{
    properties().set(SMOOTH_SHADED, smooth ? 1 : 0, Properties::Overwrite);
}

const std::string& TubeAttributes::getClassName()
{
    static const std::string name = "TubeAttributes";
    return name;
}

TubeAttributes::TubeAttributes(std::string objectKey)
    : DataNode(std::move(objectKey), getClassName(), 1)
{
}

TubeAttributes::~TubeAttributes() = default;

const std::string& LineMarkerAttributes::getClassName()
{
    static const std::string name = "LineMarkerAttributes";
    return name;
}

LineMarkerAttributes::LineMarkerAttributes(std::string objectKey)
    : DataNode(std::move(objectKey), getClassName(), 1)
{
}

LineMarkerAttributes::~LineMarkerAttributes() = default;

const std::string& StreamlineDrawable::getClassName()
{
    static const std::string name = "StreamlineDrawable";
    return name;
}

StreamlineDrawable::StreamlineDrawable(std::string objectKey)
    : DataNode(std::move(objectKey), getClassName(), 1)
{
}

StreamlineDrawable::~StreamlineDrawable() = default;

} // namespace tsg
