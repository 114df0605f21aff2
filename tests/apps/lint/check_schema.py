#!/usr/bin/python3
"""Checks the survey configuration schema against documents and against vlq-survey-lint.

usage: check_schema.py SCHEMA LINT CLEAN [MIXED...]

CLEAN must be valid under the schema and free of lint errors and warnings. Every entry of each
MIXED document is then put alone in a document and judged by both: an entry in which the linter
finds an error must be rejected by the schema, and one in which it finds neither an error nor a
warning must be accepted. Documents of the wrong shape must be rejected by both.
"""
import json
import subprocess
import sys
import tempfile

import jsonschema


def lint(program, document):
    with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
        json.dump(document, file)
        file.flush()
        run = subprocess.run([program, file.name, "--json"], capture_output=True, text=True)
    severities = {finding["severity"] for finding in json.loads(run.stdout)["findings"]}
    return severities


def main():
    schema_path, program, clean, *mixed = sys.argv[1:]
    with open(schema_path) as file:
        schema = json.load(file)
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    failures = []

    def judge(name, document):
        errors = list(validator.iter_errors(document))
        severities = lint(program, document)
        if "error" in severities and not errors:
            failures.append(f"{name}: the linter finds errors, the schema accepts it")
        if not severities & {"error", "warning"} and errors:
            failures.append(f"{name}: the linter finds it clean, the schema says: "
                            f"{errors[0].message}")
        return errors, severities

    with open(clean) as file:
        errors, severities = judge(clean, json.load(file))
    if errors or severities & {"error", "warning"}:
        failures.append(f"{clean}: not clean ({severities}, {[e.message for e in errors]})")

    for path in mixed:
        with open(path) as file:
            entries = json.load(file)["configs"]
        for index, entry in enumerate(entries):
            judge(f"{path} /configs/{index}", {"configs": [entry]})

    for document in ([], {"configs": 5}, {"surveys": []}, "configs"):
        errors, severities = judge(json.dumps(document), document)
        if not errors or "error" not in severities:
            failures.append(f"{json.dumps(document)}: not rejected by both")

    for failure in failures:
        print(failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
