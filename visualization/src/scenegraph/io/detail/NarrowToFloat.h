#pragma once

class vtkDataArray;
class vtkFloatArray;

namespace tsg::detail
{

/// Copies doubles into floats if every value passes a bracket test: its float has to lie between the value's pattern
/// with the low `shift` bits cleared and the same after a small step away from zero. A quiet NaN passes, as the lowest
/// float. Not null: `values`. The buffer takes the components and tuples of `values`; its contents are lost in any
/// case. Returns the buffer if all values passed (or there are none), otherwise `values`; also for a shift of 0 and for
/// arrays that are no doubles in one piece of memory, which leave the buffer alone.
vtkDataArray* narrowToFloat(vtkDataArray* values, vtkFloatArray* buffer, int shift);

} // namespace tsg::detail
