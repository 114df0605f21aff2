#!/usr/bin/python3
"""Replays a constraint script with kiwisolver and prints what it solves, for the differential test.

The script is one operation per line, indices counting from 0:
  variables N                         starts a new system with variables 0 .. N-1
  add ID OP STRENGTH CONSTANT K (VARIABLE COEFFICIENT) * K
                                      adds sum(coefficient * variable) + constant OP 0
  remove ID                           removes constraint ID
  edit VARIABLE STRENGTH              makes the variable an edit variable
  unedit VARIABLE                     removes the edit variable
  suggest VARIABLE VALUE
  values                              prints "values V0 V1 ..." with every variable's value
A required constraint that cannot be met prints "unsatisfiable ID". Each system's lines end with
"end", or are replaced by one "failed" line when kiwisolver itself fails on the system.

Exits with status 3 when kiwisolver cannot be imported, so the caller can skip.
"""
import os
import sys

try:
    import kiwisolver as kiwi
except ImportError:
    sys.exit(3)


def replay(system):
    """Runs one system's operations and returns the lines that it prints."""
    solver = kiwi.Solver()
    variables = []
    constraints = {}
    out = []
    for words in system:
        op = words[0]
        if op == "variables":
            variables = [kiwi.Variable("v%d" % i) for i in range(int(words[1]))]
        elif op == "add":
            ident, relation, strength, constant, count = words[1:6]
            pairs = words[6:]
            terms = [kiwi.Term(variables[int(pairs[2 * i])], float(pairs[2 * i + 1]))
                     for i in range(int(count))]
            expression = kiwi.Expression(terms, float(constant))
            if relation == "==":
                constraint = expression == 0
            elif relation == "<=":
                constraint = expression <= 0
            else:
                constraint = expression >= 0
            constraint = constraint | float(strength)
            try:
                solver.addConstraint(constraint)
                constraints[ident] = constraint
            except kiwi.UnsatisfiableConstraint:
                out.append("unsatisfiable %s" % ident)
        elif op == "remove":
            solver.removeConstraint(constraints.pop(words[1]))
        elif op == "edit":
            solver.addEditVariable(variables[int(words[1])], float(words[2]))
        elif op == "unedit":
            solver.removeEditVariable(variables[int(words[1])])
        elif op == "suggest":
            solver.suggestValue(variables[int(words[1])], float(words[2]))
        elif op == "values":
            solver.updateVariables()
            out.append("values " + " ".join(repr(v.value()) for v in variables))
        else:
            raise ValueError("unknown operation: " + op)
    return out


def replay_in_child(system):
    """Replays a system in a forked child: kiwisolver aborts the whole process on an internal
    error (seen as "The objective is unbounded" after some removals), and such a system is then
    reported as "failed" instead of ending the run."""
    read_end, write_end = os.pipe()
    pid = os.fork()
    if pid == 0:
        os.close(read_end)
        devnull = os.open(os.devnull, os.O_WRONLY)
        os.dup2(devnull, 2)
        try:
            text = "\n".join(replay(system)).encode()
            os.write(write_end, text)
            os._exit(0)
        except BaseException:
            os._exit(1)
    os.close(write_end)
    chunks = []
    while True:
        chunk = os.read(read_end, 65536)
        if not chunk:
            break
        chunks.append(chunk)
    os.close(read_end)
    _, status = os.waitpid(pid, 0)
    if status != 0:
        return ["failed"]
    text = b"".join(chunks).decode()
    return (text.split("\n") if text else []) + ["end"]


def main(path):
    systems = []
    with open(path) as script:
        for line in script:
            words = line.split()
            if not words:
                continue
            if words[0] == "variables":
                systems.append([])
            systems[-1].append(words)
    out = []
    for system in systems:
        out.extend(replay_in_child(system))
    print("\n".join(out))


if __name__ == "__main__":
    main(sys.argv[1])
