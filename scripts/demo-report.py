#!/usr/bin/env python3
"""Prints a simulator run (its JSON lines) in a readable form: the analytics events, the
responses the collector stored, the log lines and any notes."""
import json
import sys


def main():
    lines = [json.loads(line) for line in open(sys.argv[1]) if line.strip()]
    print("Analytics events, in order:")
    for line in lines:
        if line["kind"] == "event":
            info = ", ".join(f"{key}={json.dumps(value)}" for key, value in line["info"].items())
            print(f"  {line['name']:<36} {info}")
    for line in lines:
        if line["kind"] == "post":
            print(f"\nResponse stored by the collector (HTTP {line['status']}, {line['url']}):")
            print("  " + json.dumps(line["body"], indent=2).replace("\n", "\n  "))
    logs = [line["line"] for line in lines if line["kind"] == "log"]
    if logs:
        print("\nPlug-in log:")
        for text in logs:
            print("  " + text)
    notes = [line["message"] for line in lines if line["kind"] == "note"]
    if notes:
        print("\nActions that could not be performed:")
        for text in notes:
            print("  " + text)


if __name__ == "__main__":
    main()
