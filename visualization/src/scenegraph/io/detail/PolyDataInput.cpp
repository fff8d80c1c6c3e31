#include "scenegraph/io/detail/PolyDataInput.h"

#include <vtkAlgorithm.h>
#include <vtkInformation.h>
#include <vtkPolyData.h>

namespace tsg::detail
{

vtkPolyData* polyDataInput(vtkAlgorithm& algorithm, int port)
{
    const bool connected =
        port >= 0 && port < algorithm.GetNumberOfInputPorts() && algorithm.GetNumberOfInputConnections(port) > 0;
    return connected ? vtkPolyData::SafeDownCast(algorithm.GetInputDataObject(port, 0)) : nullptr;
}

int requirePolyData(vtkInformation* port)
{
    port->Set(vtkAlgorithm::INPUT_REQUIRED_DATA_TYPE(), "vtkPolyData");
    return 1;
}

} // namespace tsg::detail
