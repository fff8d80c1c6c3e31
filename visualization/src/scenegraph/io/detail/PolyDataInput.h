#pragma once

class vtkAlgorithm;
class vtkInformation;
class vtkPolyData;

namespace tsg::detail
{

/// The input of a port if it is a vtkPolyData, else null.
vtkPolyData* polyDataInput(vtkAlgorithm& algorithm, int port);

/// Makes vtkPolyData the type that a port requires; always 1.
int requirePolyData(vtkInformation* port);

} // namespace tsg::detail
