#!/usr/bin/env python3
"""Prints a survey's results, as the collector computes them, in a few lines.

    demo-results.py BASE_URL APP_ID SURVEY_ID
"""
import json
import sys
import urllib.parse
import urllib.request


def count(n, one, many):
    return f"{n} {one if n == 1 else many}"


def percent(value):
    return "–" if value is None else f"{value:g} %"


def choices_line(question):
    picked = [c for c in question["choices"] if c["count"] > 0]
    parts = [f"{c['text'] if c['text'] is not None else c['id']} {c['count']} ({percent(c['percent'])})"
             for c in picked]
    line = ", ".join(parts) if parts else "no answers"
    if question["others"]:
        line += "; Other: " + ", ".join(json.dumps(text, ensure_ascii=False)
                                        for text in question["others"][:3])
    return line


def rating_line(rating):
    average = "–" if rating["average"] is None else f"{rating['average']:g}"
    levels = " ".join(f"{level}:{n}" for level, n in enumerate(rating["counts"], start=1))
    return f"average {average} of 5, {percent(rating['satisfied_percent'])} satisfied ({levels})"


def main():
    base, app, survey = sys.argv[1:4]
    query = urllib.parse.urlencode({"appId": app, "survey": survey})
    with urllib.request.urlopen(f"{base}/v2/api/results?{query}", timeout=10) as answer:
        results = json.load(answer)
    funnel = results["funnel"]
    rate = results["completion_rate"]
    median = results["median_time_taken"]
    print(f"Results of \"{survey}\" for the app {app}:")
    print(f"  {count(results['responses'], 'response', 'responses')}, completion rate "
          f"{'–' if rate is None else f'{rate * 100:g} %'}, median time "
          f"{'–' if median is None else f'{median:g} s'}")
    print("  funnel: " + ", ".join(f"{name} {n}" for name, n in funnel.items()))
    for number, question in enumerate(results["questions"], start=1):
        detail = rating_line(question["rating"]) if "rating" in question else choices_line(question)
        print(f"  {number}. {question['title']}  {detail}")


if __name__ == "__main__":
    main()
