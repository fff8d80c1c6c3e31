#include "scenegraph/Ptr.h"

#include "core/Error.h"

namespace tsg
{

namespace
{

constexpr Invariant OBJECT_EXPECTED{"Uninitialized object or unexpected object type", "res", "base/src/scenegraph/Ptr",
                                    63};

} // namespace

void PtrBase::raiseUnexpectedObject()
{
    raise(OBJECT_EXPECTED);
}

} // namespace tsg
