#pragma once

#include "Difference.h"

class vtkDataArray;

namespace tavosce
{

/// How far apart two values may be and count as equal: |a - b| <= max(abs, rel * max(|a|, |b|)). What is no number
/// equals what is no number; an infinity equals itself.
struct Tolerance
{
    double abs = 0;
    double rel = 0;
};

/// Compares type, shape and values of two arrays; of what differs in this order only the first. The place says what
/// they are.
void compareArrays(const Place& place, vtkDataArray& left, vtkDataArray& right, const Tolerance& tolerance,
                   Differences& differences);

} // namespace tavosce
