#!/usr/bin/env python3
"""Runs one simulator scenario and compares its JSON lines with the expected ones.

A scenario is a folder under scenarios/ holding script.sim and expected.jsonl, and optionally
config.json and host.json (else the shared survey.json and host.json beside scenarios/) and args
(extra simulator options, one line). Each output line
must equal the expected line as JSON. With --update the expected file is rewritten instead.
"""
import json
import pathlib
import shlex
import subprocess
import sys


def main():
    args = sys.argv[1:]
    update = "--update" in args
    args = [a for a in args if a != "--update"]
    simulator, scenario = args[0], pathlib.Path(args[1])
    shared = scenario.parent.parent
    config = scenario / "config.json"
    host = scenario / "host.json"
    command = [simulator, "--config", str(config if config.exists() else shared / "survey.json"),
               "--host", str(host if host.exists() else shared / "host.json"),
               "--script", str(scenario / "script.sim"), "--seed", "1"]
    extra = scenario / "args"
    if extra.exists():
        command += shlex.split(extra.read_text())
    run = subprocess.run(command, capture_output=True, text=True, timeout=120)
    if run.returncode != 0:
        print(run.stderr)
        print(f"simulator exited with {run.returncode}")
        return 1
    actual = [json.loads(line) for line in run.stdout.splitlines() if line.strip()]
    expected_path = scenario / "expected.jsonl"
    if update:
        expected_path.write_text("".join(json.dumps(line) + "\n" for line in actual))
        return 0
    expected = [json.loads(line) for line in expected_path.read_text().splitlines() if line.strip()]
    failures = 0
    for index in range(max(len(actual), len(expected))):
        got = actual[index] if index < len(actual) else None
        want = expected[index] if index < len(expected) else None
        if got != want:
            failures += 1
            print(f"line {index + 1}:\n  expected {json.dumps(want)}\n  actual   {json.dumps(got)}")
    if failures:
        print(run.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
