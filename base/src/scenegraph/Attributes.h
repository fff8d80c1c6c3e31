#pragma once

#include "core/Export.h"
#include "scenegraph/DataNode.h"

#include <string>

namespace tsg
{

/// Which data array a displayer shows.
class TAVO_EXPORT DataArrayAttributes : public DataNode
{
public:
    static const std::string& getClassName();
    explicit DataArrayAttributes(std::string objectKey);
    ~DataArrayAttributes() override;

    /// Property "DataArrayName"; empty when there is none.
    const std::string& getDataArrayName() const;
    void setDataArrayName(const std::string& name);
};

/// How stream ribbons are drawn.
class TAVO_EXPORT RibbonAttributes : public DataNode
{
public:
    static const std::string& getClassName();
    explicit RibbonAttributes(std::string objectKey);
    ~RibbonAttributes() override;

    /// Property "RibbonOrientation": 0 along the normals, 1 along the vorticity, others along nothing of the stream.
    int getRibbonOrientation() const;
    void setRibbonOrientation(int orientation);
};

/// How surfaces are shaded.
class TAVO_EXPORT SurfaceAttributes : public DataNode
{
public:
    static const std::string& getClassName();
    explicit SurfaceAttributes(std::string objectKey);
    ~SurfaceAttributes() override;

    /// Property "SmoothShaded", 0 or 1; false when there is none.
    bool getSmoothShaded() const;
    void setSmoothShaded(bool smooth);
};

/// How stream tubes are drawn.
class TAVO_EXPORT TubeAttributes : public DataNode
{
public:
    static const std::string& getClassName();
    explicit TubeAttributes(std::string objectKey);
    ~TubeAttributes() override;
};

/// How markers are spread along lines.
class TAVO_EXPORT LineMarkerAttributes : public DataNode
{
public:
    static const std::string& getClassName();
    explicit LineMarkerAttributes(std::string objectKey);
    ~LineMarkerAttributes() override;
};

/// A set of streamlines on display.
class TAVO_EXPORT StreamlineDrawable : public DataNode
{
public:
    static const std::string& getClassName();
    explicit StreamlineDrawable(std::string objectKey);
    ~StreamlineDrawable() override;
};

} // namespace tsg
