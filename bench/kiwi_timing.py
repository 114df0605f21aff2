#!/usr/bin/python3
"""The kiwisolver half of bench/solver-vs-kiwi.

Reads the systems that the C++ program solver_vs_kiwi wrote into a directory (the file "cases"
names them; NAME.system holds one system, NAME.ours this solver's results), times kiwisolver on the
same systems with the same loops (median of repeated runs: building everything from the plain
description, then one resize = two suggestions and an update), checks that both solvers agree on
every value, and prints one line per case and measurement:

  solver-vs-kiwi CASE ours_us=X kiwi_us=Y ratio=R        (R = X / Y)

A system file has one item per line:
  variables N
  add OP STRENGTH CONSTANT K (VARIABLE COEFFICIENT) * K    sum(coefficient * variable) + constant OP 0
  edit VARIABLE STRENGTH
  screen WIDTH HEIGHT          the size suggested while building
  resized WIDTH HEIGHT         the size a resize switches to
"""
import statistics
import sys
import time

import kiwisolver as kiwi

TOLERANCE = 1e-6


def read_system(path):
    system = {"constraints": [], "edits": []}
    with open(path) as lines:
        for line in lines:
            words = line.split()
            if not words:
                continue
            if words[0] == "variables":
                system["variables"] = int(words[1])
            elif words[0] == "add":
                relation, strength, constant, count = words[1], float(words[2]), float(words[3]), int(words[4])
                pairs = [(int(words[5 + 2 * i]), float(words[6 + 2 * i])) for i in range(count)]
                system["constraints"].append((relation, strength, constant, pairs))
            elif words[0] == "edit":
                system["edits"].append((int(words[1]), float(words[2])))
            elif words[0] in ("screen", "resized"):
                system[words[0]] = (float(words[1]), float(words[2]))
    return system


def build(system):
    """Everything that building a layout costs, as the C++ side does it."""
    variables = [kiwi.Variable() for _ in range(system["variables"])]
    solver = kiwi.Solver()
    for relation, strength, constant, pairs in system["constraints"]:
        expression = kiwi.Expression([kiwi.Term(variables[i], c) for i, c in pairs], constant)
        if relation == "==":
            constraint = expression == 0
        elif relation == "<=":
            constraint = expression <= 0
        else:
            constraint = expression >= 0
        solver.addConstraint(constraint | strength)
    (width, width_strength), (height, height_strength) = system["edits"]
    solver.addEditVariable(variables[width], width_strength)
    solver.addEditVariable(variables[height], height_strength)
    solver.suggestValue(variables[width], system["screen"][0])
    solver.suggestValue(variables[height], system["screen"][1])
    solver.updateVariables()
    return solver, variables


def resize(system, solver, variables, size):
    (width, _), (height, _) = system["edits"]
    solver.suggestValue(variables[width], size[0])
    solver.suggestValue(variables[height], size[1])
    solver.updateVariables()


def median_microseconds(measure, samples=None):
    """Repeats the measurement at least five times and for a quarter of a second, but stops after
    one second once there is a sample: kiwisolver needs more than a minute for the largest grid."""
    samples = list(samples or [])
    start = time.perf_counter() - sum(samples) / 1e6
    while True:
        if samples:
            elapsed = time.perf_counter() - start
            if (len(samples) >= 5 and elapsed >= 0.25) or elapsed >= 1.0:
                return statistics.median(samples)
        samples.append(measure() * 1e6)


def time_build(system, first_sample):
    def measure():
        start = time.perf_counter()
        build(system)
        return time.perf_counter() - start
    return median_microseconds(measure, [first_sample])


def time_resize(system, solver, variables):
    sizes = [system["resized"], system["screen"]]
    cycles = 1
    while True:
        start = time.perf_counter()
        for i in range(cycles):
            resize(system, solver, variables, sizes[i % 2])
        if time.perf_counter() - start > 0.01:
            break
        cycles *= 2

    def measure():
        start = time.perf_counter()
        for i in range(cycles):
            resize(system, solver, variables, sizes[i % 2])
        return (time.perf_counter() - start) / cycles
    return median_microseconds(measure)


def read_ours(path):
    ours = {}
    with open(path) as lines:
        for line in lines:
            words = line.split()
            if words[0].startswith("values"):
                ours[words[0]] = [float(w) for w in words[1:]]
            else:
                ours[words[0]] = float(words[1])
    return ours


def largest_difference(mine, theirs):
    return max((abs(a - b) for a, b in zip(mine, theirs)), default=0.0)


def main(directory):
    with open(directory + "/cases") as cases:
        names = [line.strip() for line in cases if line.strip()]
    disagreements = []
    for name in names:
        system = read_system("%s/%s.system" % (directory, name))
        ours = read_ours("%s/%s.ours" % (directory, name))

        # The first build is timed too and its solution checked.
        start = time.perf_counter()
        solver, variables = build(system)
        first_build = (time.perf_counter() - start) * 1e6
        built = [v.value() for v in variables]
        resize(system, solver, variables, system["resized"])
        resized = [v.value() for v in variables]
        for label, values in (("values_built", built), ("values_resized", resized)):
            difference = largest_difference(ours[label], values)
            if len(ours[label]) != len(values) or difference > TOLERANCE:
                disagreements.append("%s %s: values differ by up to %g" % (name, label, difference))

        kiwi_build = time_build(system, first_build)
        kiwi_resize = time_resize(system, solver, variables)
        for case, mine, theirs in ((name + "-build", ours["build_us"], kiwi_build),
                                   (name + "-resize", ours["resize_us"], kiwi_resize)):
            print("solver-vs-kiwi %s ours_us=%.3f kiwi_us=%.3f ratio=%.4g"
                  % (case, mine, theirs, mine / theirs), flush=True)
    for disagreement in disagreements:
        print("solver-vs-kiwi: " + disagreement, file=sys.stderr)
    return 1 if disagreements else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
