#!/usr/bin/python3
"""Turns the time steps of an OpenFOAM case into a series of VTK XML polydata files.

The surface of the internal mesh is written once a time step, with the fields as cell data and, interpolated, as
point data. The files depend on the case alone, not on where it lies.
"""

import argparse
import os
import sys

from vtkmodules.vtkCommonDataModel import vtkPolyData
from vtkmodules.vtkFiltersGeometry import vtkDataSetSurfaceFilter
from vtkmodules.vtkIOGeometry import vtkOpenFOAMReader
from vtkmodules.vtkIOXML import vtkXMLPolyDataWriter

REGION = "internalMesh"


def open_case(case):
    """A reader of the internal mesh and all its fields, with its time steps known."""
    control = os.path.join(case, "system", "controlDict")
    if not os.path.isfile(control):
        raise SystemExit(f"foam_case_to_vtp.py: {case} is no OpenFOAM case: it has no system/controlDict")
    reader = vtkOpenFOAMReader()
    reader.SetFileName(control)
    reader.CreateCellToPointOn()
    reader.UpdateInformation()
    reader.DisableAllPatchArrays()
    reader.SetPatchArrayStatus(REGION, 1)
    reader.EnableAllCellArrays()
    reader.EnableAllPointArrays()
    return reader


def time_steps(reader):
    times = reader.GetTimeValues()
    return [times.GetValue(i) for i in range(times.GetNumberOfValues())]


def surface_at(reader, time):
    """The polydata of one time step. It shares nothing with the pipeline."""
    reader.UpdateTimeStep(time)
    grid = reader.GetOutput().GetBlock(0)
    if grid is None or not grid.IsA("vtkUnstructuredGrid"):
        raise SystemExit(f"foam_case_to_vtp.py: no {REGION} at time {time}")
    surface = vtkDataSetSurfaceFilter()
    surface.SetInputData(grid)
    surface.Update()
    polys = vtkPolyData()
    polys.DeepCopy(surface.GetOutput())
    return polys


def write(polys, path):
    writer = vtkXMLPolyDataWriter()
    writer.SetInputData(polys)
    writer.SetFileName(path)
    if writer.Write() != 1:
        raise SystemExit(f"foam_case_to_vtp.py: cannot write {path}")


def describe(polys):
    counts = f"{polys.GetNumberOfPoints()} points, {polys.GetNumberOfPolys()} polygons"
    names = [
        f"{kind} " + " ".join(sorted(data.GetArrayName(i) for i in range(data.GetNumberOfArrays())))
        for kind, data in (("points:", polys.GetPointData()), ("cells:", polys.GetCellData()))
    ]
    return ", ".join([counts] + names)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("case", help="folder of the case, with its time steps")
    parser.add_argument("output", help="folder for frame-0000.vtp and so on; made when missing")
    arguments = parser.parse_args()

    reader = open_case(arguments.case)
    times = time_steps(reader)
    if not times:
        raise SystemExit(f"foam_case_to_vtp.py: {arguments.case} has no time steps")
    os.makedirs(arguments.output, exist_ok=True)
    last = ""
    for number, time in enumerate(times):
        polys = surface_at(reader, time)
        write(polys, os.path.join(arguments.output, f"frame-{number:04d}.vtp"))
        now = describe(polys)
        if now != last:
            print(f"from frame {number:2d} (t = {time:g} s): {now}")
        last = now
    print(f"{len(times)} frames, t = {times[0]:g} to {times[-1]:g} s")
    return 0


if __name__ == "__main__":
    sys.exit(main())
