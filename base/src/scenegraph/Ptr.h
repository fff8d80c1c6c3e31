#pragma once

#include "scenegraph/Object.h"

#include <cstddef>
#include <functional>

namespace tsg
{

/// A handle to an Object that somebody else owns; may be empty.
class TAVO_EXPORT PtrBase
{
public:
    PtrBase() = default;

    explicit PtrBase(Object* object)
        : _object(object)
    {
    }

    Object* object() const { return _object; }

    bool operator==(const PtrBase& other) const { return _object == other._object; }

    bool operator!=(const PtrBase& other) const { return _object != other._object; }

protected:
    /// Raises the InternalError "Uninitialized object or unexpected object type".
    [[noreturn]] static void raiseUnexpectedObject();

private:
    Object* _object = nullptr;
};

/// A handle that hands its object out as a T.
template <class T>
class Ptr : public PtrBase
{
public:
    using PtrBase::PtrBase;

    /// The object as a T. Raises InternalError when the handle is empty or its object is no T.
    T& operator*() const
    {
        T* res = dynamic_cast<T*>(object());
        if (!res)
        {
            raiseUnexpectedObject();
        }
        return *res;
    }

    T* operator->() const { return &**this; }
};

} // namespace tsg

//! @cond
template <class T>
struct std::hash<tsg::Ptr<T>>
{
    std::size_t operator()(const tsg::Ptr<T>& ptr) const { return std::hash<const void*>()(ptr.object()); }
};

//! @endcond
