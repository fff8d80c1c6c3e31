#pragma once

#include "core/Export.h"

namespace tsg
{

/// Base of everything that a Ptr can refer to.
class TAVO_EXPORT Object
{
public:
    Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object();
};

} // namespace tsg
