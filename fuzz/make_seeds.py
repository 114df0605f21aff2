#!/usr/bin/env python3
"""Writes the fuzz targets' seed inputs, made from the project's real inputs: the example and
end-to-end configurations, scripts and host values, and the bodies the end-to-end runs posted.

usage: make_seeds.py OUTDIR   (writes OUTDIR/TARGET/NAME for every target)
"""
import json
import pathlib
import shlex
import struct
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
E2E = ROOT / "tests" / "e2e"


def configurations():
    """(name, bytes) of every configuration document."""
    paths = [ROOT / "examples" / "checkout-survey.json", E2E / "survey.json"]
    paths += sorted(E2E.glob("scenarios/*/config.json"))
    return [(path.parent.name + "-" + path.stem, path.read_bytes()) for path in paths]


def scripts():
    """(name, text, configuration bytes) of every simulator script, with the document it runs on."""
    found = [("walkthrough", (ROOT / "examples" / "walkthrough.sim").read_text(),
              (ROOT / "examples" / "checkout-survey.json").read_bytes())]
    for scenario in sorted(E2E.glob("scenarios/*")):
        config = scenario / "config.json"
        document = (config if config.exists() else E2E / "survey.json").read_bytes()
        found.append((scenario.name, (scenario / "script.sim").read_text(), document))
    return found


def posted_bodies():
    """Every body that an end-to-end run posted."""
    bodies = []
    for expected in sorted(E2E.glob("scenarios/*/expected.jsonl")):
        for line in expected.read_text().splitlines():
            if line.strip() and json.loads(line).get("kind") == "post":
                bodies.append(json.loads(line)["body"])
    return bodies


def text(value):
    """A text argument: its length in one byte, then its bytes (at most 255)."""
    data = value.encode() if isinstance(value, str) else value
    return bytes([min(len(data), 255)]) + data[:255]


def choice_row(document, value):
    """The row of the first choice whose text is `value`, in the order the document gives it."""
    try:
        for entry in json.loads(document).get("configs", []):
            for question in entry.get("ui", {}).get("questions", []):
                for row, choice in enumerate(question.get("choices", [])):
                    if choice.get("value") == value:
                        return row
    except (ValueError, AttributeError):
        pass
    return 0


def session_actions(script, document):
    """The session target's actions for a simulator script (see fuzz/SessionActions.h)."""
    out = bytearray()
    for line in script.splitlines():
        try:
            words = shlex.split(line, comments=True)
        except ValueError:
            continue
        if not words:
            continue
        action, args = words[0], words[1:]
        if action == "trigger" and args:
            out += bytes([0, 255]) + text(args[0])
        elif action == "wait" and args:
            eighths = round(float(args[0]) * 8)
            while eighths > 0:
                out += bytes([2, min(eighths, 254)])
                eighths -= 254
            out += bytes([15, 0])  # the post, if one is waiting, is answered 200
        elif action == "tap" and args:
            simple = {"yes": 3, "no": 4, "cancel": 5, "skip": 6, "submit": 7}
            if args[0] in simple:
                out.append(simple[args[0]])
            elif args[0] == "row" and len(args) > 1 and args[1].isdigit():
                out += bytes([8, min(int(args[1]), 255)])
            elif args[0] == "choice" and len(args) > 1:
                out += bytes([8, choice_row(document, args[1])])
        elif action == "rate" and args and args[0].isdigit():
            out += bytes([9, int(args[0]) % 5])
        elif action == "type" and args:
            out += bytes([10, 11]) + text(args[0]) + bytes([13])
        elif action == "focus":
            out.append(10)
        elif action == "keys" and args:
            out += bytes([11]) + text(args[0])
        elif action == "paste" and args:
            out += bytes([12]) + text(args[0])
        elif action == "return":
            out.append(13)
        elif action == "backspace" and args and args[0].isdigit():
            out += bytes([14, min(int(args[0]), 255)])
        elif action in ("tab", "shift-tab", "press", "escape"):
            out += bytes([18, ["tab", "shift-tab", "press", "escape"].index(action)])
    return bytes(out)


def submission_record(response):
    """One response of a posted body as the submission-body target's record."""
    flags = 1 | (2 if "question_id" in response else 0)
    out = bytearray([flags])
    if "question_id" in response:
        out += struct.pack("<i", response["question_id"])
    others = response.get("others", [])
    out += text(others[0]["answer"] if others else "")
    answers = response.get("answers", [])
    out.append(len(answers) % 8)
    other_ids = {other.get("id") for other in others}
    for answer in answers:
        if isinstance(answer, int):
            out += bytes([0]) + struct.pack("<q", answer)
        else:
            out += bytes([3 if answer in other_ids else 2, 1]) + text(str(answer))
    return bytes(out)


def submission_seed(body):
    def value(key):
        return bytes([2]) + text(json.dumps(body[key])) if key in body else bytes([0])

    out = bytearray(value("survey_id"))
    out += struct.pack("<dd", float(body.get("launch_time", 0)),
                       body.get("launch_time", 0) / 1000 + body.get("time_taken", 0))
    out += bytes([1]) + text(body.get("session_id", ""))
    out += value("session_attributes")
    out += bytes([2]) + text(json.dumps({"app_version": body.get("app_version")}))
    out += bytes([1]) + text(body.get("device_uuid", ""))
    out += value("user_attributes")
    responses = body.get("responses", [])
    out.append(len(responses) % 6)
    for response in responses[:5]:
        out += submission_record(response)
    return bytes(out)


def main():
    outdir = pathlib.Path(sys.argv[1])
    seeds = {}
    for name, document in configurations():
        ids = []
        try:
            ids = [entry.get("_id") for entry in json.loads(document).get("configs", [])]
        except (ValueError, AttributeError):
            pass
        for id_ in {str(i) for i in ids if isinstance(i, str)} or {""}:
            seeds[("configuration", f"{name}-{id_}")] = id_.encode() + b"\n" + document
    for name, script, document in scripts():
        seeds[("session", name)] = document + b"\0" + session_actions(script, document)
        seeds[("script", name)] = script.encode()
    for index, body in enumerate(posted_bodies()):
        seeds[("submission-body", f"posted-{index}")] = submission_seed(body)
        # Status 200, POST, a response for app "a" sent with its key as JSON, then the body.
        seeds[("collector", f"posted-{index}")] = bytes([20, 1, 0, 0, 1]) + json.dumps(body).encode()
        seeds[("collector", f"posted-{index}-with-key")] = (
            bytes([20, 1, 0, 0, 1 | 1 << 4]) + text("Idempotency-Key")
            + text(f"key-{index % 3}") + text("") + json.dumps(body).encode())
    events = {"events": [
        {"name": name, "info": {"survey_id": "s1"}, "time": 1714521600000 + n,
         "device_id": "d", "session_id": "s"}
        for n, name in enumerate(["vlq_survey_dialog_launched", "vlq_surevy_dialog_yes_clicked",
                                  "vlq_survey_launched", "vlq_survey_completed"])]}
    seeds[("collector", "events")] = bytes([20, 1, 3, 0, 1]) + json.dumps(events).encode()
    seeds[("collector", "events-with-key")] = (
        bytes([20, 1, 3, 1, 1 | 1 << 4]) + text("Idempotency-Key") + text("batch-1") + text("")
        + json.dumps(events).encode())
    seeds[("collector", "list")] = bytes([20, 0, 1, 0, 1])
    seeds[("collector", "config")] = bytes([20, 0, 2, 0])
    # The results of app "a" and survey "s1" as JSON and CSV with the token, the page with a
    # session, and the sign-in form.
    seeds[("collector", "results")] = bytes([20, 0, 4, 0, 0, 1])
    seeds[("collector", "results-csv")] = bytes([20, 0, 5, 0, 0, 1])
    seeds[("collector", "page")] = bytes([20, 0, 6, 0, 2])
    seeds[("collector", "sign-in")] = (
        bytes([20, 1, 8, 1 << 2]) + b"next=%2Fresults%3FappId%3Da&token=fuzz-read-token-0123456789")
    for (target, name), data in seeds.items():
        path = outdir / target / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)


if __name__ == "__main__":
    main()
