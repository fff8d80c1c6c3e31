#!/usr/bin/python3
"""Compares polydata files by value, with nothing but VTK's own readers.

Compared are the cells of all four kinds by their connectivity, the point coordinates, every point, cell and field
array by name, type, components with their names, and values (NaN equals NaN), and the active attributes. Point coordinates may come back
as float where every coordinate keeps its value as a float: databases store such points in half the space. With
--point-digits they may also be what is left of them in a text of so many significant digits. Lookup tables are not
compared.

Exit code: 0 equal, 1 differences, 2 wrong usage, 3 a file that VTK cannot read.
"""

import argparse
import array
import os
import sys
from collections import namedtuple

from vtkmodules.vtkCommonCore import vtkDataArray, vtkStringArray
from vtkmodules.vtkCommonDataModel import vtkDataSetAttributes
from vtkmodules.vtkIOGeometry import vtkOBJReader, vtkSTLReader
from vtkmodules.vtkIOLegacy import vtkPolyDataReader
from vtkmodules.vtkIOPLY import vtkPLYReader
from vtkmodules.vtkIOXML import vtkXMLPolyDataReader

READERS = {
    ".vtp": vtkXMLPolyDataReader,
    ".vtk": vtkPolyDataReader,
    ".ply": vtkPLYReader,
    ".obj": vtkOBJReader,
    ".stl": vtkSTLReader,
}
CELL_KINDS = (("verts", "GetVerts"), ("lines", "GetLines"), ("polys", "GetPolys"), ("strips", "GetStrips"))
SECTIONS = (("point", "GetPointData"), ("cell", "GetCellData"), ("field", "GetFieldData"))

Outcome = namedtuple("Outcome", "differences left_out points points_difference arrays values")


class CannotRead(Exception):
    pass


def read(path):
    """The polydata of a file; raises CannotRead when there is none or the reader reports an error."""
    make_reader = READERS.get(os.path.splitext(path)[1].lower())
    if make_reader is None:
        raise CannotRead(f"{path}: none of {' '.join(READERS)}")
    if not os.path.isfile(path):
        raise CannotRead(f"{path}: no such file")
    errors = []
    reader = make_reader()
    reader.AddObserver("ErrorEvent", lambda *_: errors.append("error event"))
    reader.GetExecutive().AddObserver("ErrorEvent", lambda *_: errors.append("pipeline error"))
    reader.SetFileName(path)
    reader.Update()
    if errors or reader.GetErrorCode() != 0:
        raise CannotRead(f"{path}: VTK's reader reports an error")
    return reader.GetOutput()


def flat(data):
    """The values of a numeric array, tuple after tuple."""
    if data is None or data.GetNumberOfValues() == 0:
        return array.array("b")
    if data.IsA("vtkBitArray"):
        return array.array("b", (data.GetValue(i) for i in range(data.GetNumberOfValues())))
    view = memoryview(data)
    return array.array("b" if view.format == "c" else view.format, view.tobytes())


def same_values(left, right):
    if left.typecode == right.typecode and left.tobytes() == right.tobytes():
        return True
    if len(left) != len(right):
        return False
    return all(a == b or (a != a and b != b) for a, b in zip(left, right))


def points_of(polys):
    points = polys.GetPoints()
    return points.GetData() if points is not None else None


def same_digits(left, right, digits):
    """Whether each value of `right` is that of `left` to so many significant digits, or the float nearest to that."""
    texts = array.array(right.typecode, (float(f"{value:.{digits}g}") for value in left))
    return same_values(texts, right)


def compare_points(expected, actual, digits=None):
    """A verdict ("equal", "equal as ...", or what differs) and the largest difference of a coordinate."""
    left, right = flat(points_of(expected)), flat(points_of(actual))
    if len(left) != len(right):
        return f"{len(left) // 3} points became {len(right) // 3}", float("inf")
    if len(left) == 0:
        return "equal", 0.0
    narrowed = left.typecode == "d" and right.typecode == "f"
    if left.typecode != right.typecode and not narrowed:
        return f"coordinates of type {left.typecode} became {right.typecode}", float("inf")
    if same_values(left, right):
        return "equal", 0.0
    difference = max((abs(a - b) for a, b in zip(left, right) if a == a and b == b), default=0.0)
    if narrowed and same_values(array.array("f", left), right):
        return "equal as float", difference
    if digits is not None and same_digits(left, right, digits):
        return f"equal to {digits} digits", difference
    return f"coordinates differ by up to {difference:g}", difference


def compare_cells(expected, actual, differences):
    for kind, getter in CELL_KINDS:
        left, right = getattr(expected, getter)(), getattr(actual, getter)()
        counts = left.GetNumberOfCells(), right.GetNumberOfCells()
        if counts[0] != counts[1]:
            differences.append(f"{counts[0]} {kind} became {counts[1]}")
        elif counts[0] != 0 and not (
            same_values(flat(left.GetOffsetsArray()), flat(right.GetOffsetsArray()))
            and same_values(flat(left.GetConnectivityArray()), flat(right.GetConnectivityArray()))
        ):
            differences.append(f"connectivity of {kind} differs")


def arrays_by_name(fields):
    """Arrays by name. Unnamed arrays and further arrays of a name get their number behind it."""
    result = {}
    for number in range(fields.GetNumberOfArrays()):
        data = fields.GetAbstractArray(number)
        name = data.GetName()
        key = str(name) if name else f"(unnamed {number})"
        result[key if key not in result else f"{key} ({number})"] = data
    return result


def why_unstorable(data, tuples):
    """Why polydata files and databases cannot carry an array as it is; empty when they can."""
    if not isinstance(data, (vtkDataArray, vtkStringArray)):
        return f"is a {data.GetClassName()}"
    if isinstance(data.GetName(), bytes):  # what is no UTF-8 comes as bytes
        return "has a name that is no UTF-8"
    if tuples is not None and data.GetNumberOfTuples() != tuples:
        return f"has {data.GetNumberOfTuples()} tuples for {tuples}"
    return ""


def shape(data):
    return f"{data.GetDataTypeAsString()} {data.GetNumberOfTuples()} x {data.GetNumberOfComponents()}"


def component_names(data):
    if not data.HasAComponentName():
        return []
    return [data.GetComponentName(i) for i in range(data.GetNumberOfComponents())]


def array_difference(left, right):
    """What differs between two arrays; empty when nothing does."""
    if shape(left) != shape(right):
        return f"{shape(left)} became {shape(right)}"
    if component_names(left) != component_names(right):
        return f"components {component_names(left)} became {component_names(right)}"
    if isinstance(left, vtkDataArray):
        equal = same_values(flat(left), flat(right))
    else:
        equal = all(left.GetVariantValue(i) == right.GetVariantValue(i) for i in range(left.GetNumberOfValues()))
    return "" if equal else "values differ"


def active_attributes(fields):
    if not isinstance(fields, vtkDataSetAttributes):
        return {}
    kinds = range(vtkDataSetAttributes.NUM_ATTRIBUTES)
    arrays = {vtkDataSetAttributes.GetAttributeTypeAsString(kind): fields.GetAbstractAttribute(kind) for kind in kinds}
    return {kind: str(data.GetName()) for kind, data in arrays.items() if data is not None}


class ArrayComparison:
    """Compares all arrays and active attributes of two polydata.

    With `leave_out_unstorable`, an array of `expected` that cannot be carried may be missing. Where an array with its
    values is new elsewhere or under another name, the two are taken for the same.
    """

    def __init__(self, expected, actual, leave_out_unstorable):
        self.differences = []
        self.arrays = self.values = 0
        self._missing, self._unstorable, self._new = [], [], []
        for section, getter in SECTIONS:
            tuples = {"point": expected.GetNumberOfPoints(), "cell": expected.GetNumberOfCells()}.get(section)
            self._compare_section(section, tuples, getattr(expected, getter)(), getattr(actual, getter)())
        self.left_out = self._match_unstorable() if leave_out_unstorable else []
        for state, found in (("missing", self._missing + self._unstorable), ("new", self._new)):
            self.differences += [f"{what} is {state}" for what, *_ in found]

    def _compare_section(self, section, tuples, left_fields, right_fields):
        left, right = arrays_by_name(left_fields), arrays_by_name(right_fields)
        for name, data in left.items():
            what = f"{section} array {name}"
            if name in right:
                self._compare_array(what, data, right[name])
            elif why_unstorable(data, tuples):
                self._unstorable.append((what, data, why_unstorable(data, tuples)))
            else:
                self._missing.append((what, data))
        self._new += [(f"{section} array {name}", data) for name, data in right.items() if name not in left]
        gone = [name for name, data in left.items() if name not in right and why_unstorable(data, tuples)]
        wanted = {kind: name for kind, name in active_attributes(left_fields).items() if name not in gone}
        if wanted != active_attributes(right_fields):
            self.differences.append(f"active {section} attributes {wanted} became {active_attributes(right_fields)}")

    def _compare_array(self, what, left, right):
        problem = array_difference(left, right)
        if problem:
            self.differences.append(f"{what}: {problem}")
        else:
            self.arrays += 1
            self.values += left.GetNumberOfValues()

    def _match_unstorable(self):
        """Takes the unstorable arrays, and the new arrays that hold their values, off the lists."""
        result = []
        for what, data, reason in self._unstorable:
            match = next((entry for entry in self._new if not array_difference(data, entry[1])), None)
            if match is not None:
                self._new.remove(match)
            result.append(f"{what} {reason}" + (f"; its values came back as {match[0]}" if match else ""))
        self._unstorable = []
        return result


def compare(expected, actual, leave_out_unstorable=False, point_digits=None):
    """Compares two polydata."""
    points, points_difference = compare_points(expected, actual, point_digits)
    differences = [] if points.startswith("equal") else [points]
    compare_cells(expected, actual, differences)
    found = ArrayComparison(expected, actual, leave_out_unstorable)
    return Outcome(differences + found.differences, found.left_out, points, points_difference, found.arrays, found.values)


def describe(polys):
    cells = ", ".join(f"{getattr(polys, getter)().GetNumberOfCells()} {kind}" for kind, getter in CELL_KINDS)
    arrays = ", ".join(f"{getattr(polys, getter)().GetNumberOfArrays()} {section}" for section, getter in SECTIONS)
    return f"{polys.GetNumberOfPoints()} points; {cells}; arrays: {arrays}"


def report(name, outcome):
    print(f"{'different' if outcome.differences else 'equal':9} {name}: points {outcome.points}, "
          f"{outcome.arrays} arrays with {outcome.values} values equal")
    for line in outcome.differences:
        print(f"          {line}")
    for line in outcome.left_out:
        print(f"          left out: {line}")


def compare_files(pairs, leave_out_unstorable, point_digits):
    outcomes = []
    for expected, actual in pairs:
        outcomes.append(compare(read(expected), read(actual), leave_out_unstorable, point_digits))
        report(os.path.basename(expected), outcomes[-1])
    different = sum(1 for outcome in outcomes if outcome.differences)
    if len(outcomes) > 1:
        exact = sum(1 for outcome in outcomes if outcome.points == "equal")
        print(f"{len(outcomes) - different} of {len(outcomes)} polydata equal: connectivity, "
              f"{sum(outcome.arrays for outcome in outcomes)} arrays, "
              f"{sum(outcome.values for outcome in outcomes)} values; points of {exact} equal by value, "
              f"largest difference of a coordinate {max(outcome.points_difference for outcome in outcomes):g}")
    return 1 if different else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--leave-out-unstorable", action="store_true",
                        help="list, and do not miss, arrays of EXPECTED that no file can carry as they are")
    parser.add_argument("--point-digits", type=int, metavar="N",
                        help="points may have gone through a text with N significant digits")
    parser.add_argument("--describe", action="store_true", help="read the files and print what they hold")
    parser.add_argument("files", nargs="+", metavar="EXPECTED ACTUAL", help="pairs of files")
    arguments = parser.parse_args()
    try:
        if arguments.describe:
            for path in arguments.files:
                print(f"{path}: {describe(read(path))}")
            return 0
        if len(arguments.files) % 2 != 0:
            parser.error("files come in pairs")
        pairs = zip(arguments.files[::2], arguments.files[1::2])
        return compare_files(pairs, arguments.leave_out_unstorable, arguments.point_digits)
    except CannotRead as problem:
        print(f"compare_polydata.py: {problem}", file=sys.stderr)
        return 3


if __name__ == "__main__":
    sys.exit(main())
