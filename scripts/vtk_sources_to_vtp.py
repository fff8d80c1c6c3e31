#!/usr/bin/python3
"""Makes a series of VTK XML polydata files from VTK's own sources: a stand-in for a simulation.

The geometry, a sphere, stands still; a wave runs over it. The wave is a point array, its mean over each cell a cell
array, and from the second frame on there is its speed as well.
"""

import argparse
import math
import os
import sys

from vtkmodules.vtkCommonCore import vtkDoubleArray, vtkFloatArray
from vtkmodules.vtkCommonDataModel import vtkPolyData
from vtkmodules.vtkFiltersCore import vtkPointDataToCellData
from vtkmodules.vtkFiltersSources import vtkSphereSource
from vtkmodules.vtkIOXML import vtkXMLPolyDataWriter


def sphere():
    source = vtkSphereSource()
    source.SetThetaResolution(48)
    source.SetPhiResolution(48)
    source.Update()
    return source.GetOutput()


def point_array(kind, name, polys, function):
    result = kind()
    result.SetName(name)
    for number in range(polys.GetNumberOfPoints()):
        result.InsertNextValue(function(polys.GetPoint(number)))
    return result


def frame(geometry, number):
    polys = vtkPolyData()
    polys.DeepCopy(geometry)
    time = 0.05 * number
    polys.GetPointData().SetScalars(
        point_array(vtkFloatArray, "wave", polys, lambda point: math.sin(12 * point[0] - 9 * time)))
    if number > 0:
        polys.GetPointData().AddArray(
            point_array(vtkDoubleArray, "speed", polys, lambda point: -9 * math.cos(12 * point[0] - 9 * time)))
    averages = vtkPointDataToCellData()
    averages.SetInputData(polys)
    averages.PassPointDataOn()
    averages.Update()
    return averages.GetOutput()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("output", help="folder for frame-0000.vtp and so on; made when missing")
    parser.add_argument("--frames", type=int, default=21)
    arguments = parser.parse_args()

    os.makedirs(arguments.output, exist_ok=True)
    geometry = sphere()
    for number in range(arguments.frames):
        writer = vtkXMLPolyDataWriter()
        writer.SetInputData(frame(geometry, number))
        writer.SetFileName(os.path.join(arguments.output, f"frame-{number:04d}.vtp"))
        if writer.Write() != 1:
            raise SystemExit(f"vtk_sources_to_vtp.py: cannot write {writer.GetFileName()}")
    print(f"{arguments.frames} frames of a sphere, {geometry.GetNumberOfPoints()} points, "
          f"{geometry.GetNumberOfPolys()} triangles")
    return 0


if __name__ == "__main__":
    sys.exit(main())
