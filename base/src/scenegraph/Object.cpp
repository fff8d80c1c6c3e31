#include "scenegraph/Object.h"

namespace tsg
{

Object::~Object() = default;

} // namespace tsg
