#!/usr/bin/env python3
"""The results page in a real browser: headless Chromium, driven over its DevTools pipe.

    results_page_in_browser.py COLLECTOR [--screenshots DIR]

Starts COLLECTOR (vlq-survey-collector) with a survey document of its own, app keys, a read token
and a database holding responses of two weeks and the funnel's events, then signs in on the page
with the token and loads /results on a phone-sized and on a desktop-sized screen and checks that:
- the page loads with no console message, no script error and no failed or refused load;
- everything it loads comes from the collector itself;
- it fits a phone's width without scrolling sideways;
- every chart is text as well (its bars hidden from screen readers beside their numbers, or an
  image named by a summary), every field has a label, and headings follow each other in order.
With --screenshots DIR it writes the top of the page on each screen there, as results-page-phone.png
and results-page-desktop.png, and the sign-in page on the phone, as results-sign-in-phone.png.

Exit status: 0 when every check holds, 1 when one fails, 77 when chromium is not installed (the
test is then skipped).
"""
import argparse
import base64
import datetime
import fcntl
import json
import os
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time
import urllib.request

DOCUMENT = {"configs": [
    {"_id": "checkout-feedback",
     "ui": {"dialog_config": {"title": "Got a minute?", "yes_text": "Sure", "no_text": "Not now"},
            "questions": [
                {"id": "301", "title": "How easy was checkout today?",
                 "answer_mode": "single_choice",
                 "choices": [{"id": "e1", "value": "Very easy"}, {"id": "e2", "value": "Easy enough"},
                             {"id": "e3", "value": "A bit confusing"}, {"id": "e4", "value": "Hard"}]},
                {"id": "302", "title": "Which features did you use?",
                 "answer_mode": "multi_choice",
                 "choices": [{"id": "f1", "value": "Saved cards"},
                             {"id": "f2", "value": "Order tracking"},
                             {"id": "f3", "value": "Gift wrapping"},
                             {"id": "f9", "value": "Other", "is_other": True}]},
                {"id": "303", "title": "How would you rate the app?", "answer_mode": "rating"}]}},
    {"_id": "app-rating-quick",
     "ui": {"questions": [{"id": "401", "title": "How do you like the app so far?",
                           "answer_mode": "rating"}]}}]}

OTHER_TEXTS = ["Split payment", "Paid with a voucher", "Apple Pay <b>please</b>",
               "Scheduled delivery", "Loyalty points"]


def response(n):
    """The n-th response: a spread of answers, as the plug-in posts them."""
    features = [["f1"], ["f1", "f2"], ["f2"], ["f2", "f9"], ["f1", "f3"]][n % 5]
    others = [{"answer": OTHER_TEXTS[n // 5 % len(OTHER_TEXTS)], "id": "f9"}] if "f9" in features else []
    elements = [{"question_id": 301, "answers": [["e1", "e2", "e2", "e3", "e4", "e1"][n % 6]],
                 "others": []},
                {"question_id": 302, "answers": features, "others": others} if n % 7 else
                {"answers": []},
                {"question_id": 303, "answers": [[5, 4, 4, 3, 5, 2, 4, 1][n % 8]], "others": []}]
    return {"survey_id": "checkout-feedback", "session_id": f"session-{n}", "responses": elements,
            "is_completed": n % 7 != 0, "device_uuid": f"device-{n % 9}",
            "time_taken": 20 + (n * 7) % 40, "launch_time": 1700000000000 + n}


APP_KEY = "northwind-ios-key"
READ_TOKEN = "results-read-token-0123"


class Collector:
    """The collector as a team runs it: app keys for posts, a token for reads."""

    def __init__(self, program, directory):
        self.program = program
        self.database = os.path.join(directory, "results.sqlite")
        files = {"survey.json": json.dumps(DOCUMENT),
                 "app-keys.json": json.dumps({"northwind-ios": APP_KEY}),
                 "read-token": READ_TOKEN + "\n"}
        for name, text in files.items():
            with open(os.open(os.path.join(directory, name), os.O_WRONLY | os.O_CREAT, 0o600),
                      "w") as file:
                file.write(text)
        self.arguments = ["--config", os.path.join(directory, "survey.json"),
                          "--app-keys", os.path.join(directory, "app-keys.json"),
                          "--read-token", os.path.join(directory, "read-token"),
                          "--db", self.database]
        self.process = None
        self.url = None

    def start(self):
        self.process = subprocess.Popen([self.program, *self.arguments], stdout=subprocess.PIPE,
                                        text=True)
        line = self.process.stdout.readline().split()
        if line[:2] != ["listening", "on"]:
            raise RuntimeError("the collector did not start")
        self.url = line[2]

    def stop(self):
        if self.process:
            self.process.send_signal(signal.SIGTERM)
            self.process.wait(timeout=30)
            self.process = None

    def post(self, path, body):
        request = urllib.request.Request(self.url + path, json.dumps(body).encode(),
                                         {"Content-Type": "application/json",
                                          "Authorization": "Bearer " + APP_KEY})
        with urllib.request.urlopen(request, timeout=10) as answer:
            return answer.status


def fill(collector):
    """Responses of the last two weeks, as if received then, and the funnel's events."""
    collector.start()  # makes the database's tables
    collector.stop()
    today = datetime.datetime.now(datetime.timezone.utc).replace(hour=9, minute=0, second=0,
                                                                 microsecond=0)
    database = sqlite3.connect(collector.database)
    for n in range(60):
        received = today - datetime.timedelta(days=13 - (n * 13 // 59), minutes=n)
        database.execute(
            "INSERT INTO survey_responses (app_id, received_at, url, status, body)"
            " VALUES ('northwind-ios', ?, '/v2/api/survey-response?appId=northwind-ios', 200, ?)",
            (received.strftime("%Y-%m-%dT%H:%M:%S.000Z"), json.dumps(response(n))))
    database.commit()
    database.close()
    collector.start()
    now = int(time.time() * 1000)
    counts = [("vlq_survey_dialog_launched", 140), ("vlq_surevy_dialog_yes_clicked", 82),
              ("vlq_surevy_dialog_no_clicked", 41), ("vlq_survey_launched", 82),
              ("vlq_survey_close_button_clicked", 3), ("vlq_survey_completed", 58)]
    events = [{"name": name, "info": {"survey_id": "checkout-feedback"}, "time": now - i * 60000,
               "device_id": f"device-{i % 9}", "session_id": f"session-{i}"}
              for name, count in counts for i in range(count)]
    assert collector.post("/v2/api/events?appId=northwind-ios", {"events": events}) == 200


class Browser:
    """Chromium with its DevTools protocol on a pipe: commands on fd 3, answers on fd 4."""

    def __init__(self, profile):
        to_browser, self.commands = os.pipe()
        self.answers, from_browser = os.pipe()

        def give_pipes():
            keep_in = fcntl.fcntl(to_browser, fcntl.F_DUPFD, 10)
            keep_out = fcntl.fcntl(from_browser, fcntl.F_DUPFD, 10)
            os.dup2(keep_in, 3)
            os.dup2(keep_out, 4)

        self.process = subprocess.Popen(
            ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
             "--no-first-run", "--disable-background-networking", "--disable-component-update",
             "--disable-sync", f"--user-data-dir={profile}", "--remote-debugging-pipe",
             "about:blank"],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            preexec_fn=give_pipes, pass_fds=(3, 4))
        os.close(to_browser)
        os.close(from_browser)
        self.buffer = b""
        self.next_id = 0
        self.events = []

    def _read_message(self, deadline):
        while b"\0" not in self.buffer:
            if time.monotonic() > deadline:
                raise TimeoutError("chromium did not answer")
            chunk = os.read(self.answers, 1 << 16)
            if not chunk:
                raise RuntimeError("chromium closed its pipe")
            self.buffer += chunk
        message, self.buffer = self.buffer.split(b"\0", 1)
        return json.loads(message)

    def send(self, method, params=None, session=None, timeout=30):
        self.next_id += 1
        message = {"id": self.next_id, "method": method, "params": params or {}}
        if session:
            message["sessionId"] = session
        os.write(self.commands, json.dumps(message).encode() + b"\0")
        deadline = time.monotonic() + timeout
        while True:
            answer = self._read_message(deadline)
            if answer.get("id") == self.next_id:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]
            self.events.append(answer)

    def wait_for(self, method, timeout=30):
        deadline = time.monotonic() + timeout
        while True:
            for event in self.events:
                if event.get("method") == method:
                    self.events.remove(event)
                    return event
            self.events.append(self._read_message(deadline))

    def close(self):
        try:
            self.send("Browser.close", timeout=5)
        except Exception:
            pass
        try:
            self.process.wait(timeout=10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()


# What the page must be, checked inside it; each failed check is one line.
CHECKS = r"""
(() => {
  const problems = [];
  if (!document.title) problems.push('the page has no title');
  if (document.documentElement.lang !== 'en') problems.push('the page has no language');
  if (document.documentElement.scrollWidth > window.innerWidth + 1)
    problems.push(`the page is ${document.documentElement.scrollWidth} px wide on a ` +
                  `${window.innerWidth} px screen`);
  for (const svg of document.querySelectorAll('svg')) {
    if (svg.getAttribute('aria-hidden') === 'true') {
      const row = svg.closest('tr');
      if (!row || !/\d/.test(row.innerText)) problems.push('a hidden bar without its number');
      continue;
    }
    const label = document.getElementById(svg.getAttribute('aria-labelledby') || '');
    if (svg.getAttribute('role') !== 'img' || !label || !label.textContent.trim())
      problems.push('a chart that is neither hidden nor named');
  }
  for (const input of document.querySelectorAll('input:not([type=hidden]), select, button'))
    if (input.tagName !== 'BUTTON' ? input.labels.length === 0 : !input.textContent.trim())
      problems.push(`a ${input.tagName.toLowerCase()} without a label`);
  let level = 0;
  for (const heading of document.querySelectorAll('h1, h2, h3, h4, h5, h6')) {
    const next = Number(heading.tagName[1]);
    if (next > level + 1) problems.push(`a heading h${next} after h${level}`);
    level = next;
  }
  const questions = document.querySelectorAll('article').length;
  if (questions !== 3) problems.push(`${questions} questions shown, not 3`);
  if (!document.querySelector('a[href^="/v2/api/results.csv"]')) problems.push('no CSV link');
  return problems;
})()
"""


# The sign-in page: its form, filled with the read token and sent.
SIGN_IN = r"""
(() => {
  const token = document.querySelector('form input[name=token]');
  if (!token || token.labels.length === 0) return 'no labelled token field';
  token.value = '%s';
  token.form.submit();
  return '';
})()
""" % READ_TOKEN


def sign_in(browser, session, url, screenshots):
    """Asks for `url`, is shown the sign-in form, and signs in; the browser is then on `url`."""
    browser.send("Emulation.setDeviceMetricsOverride",
                 {"width": 390, "height": 844, "deviceScaleFactor": 2, "mobile": True}, session)
    browser.send("Page.navigate", {"url": url}, session)
    browser.wait_for("Page.loadEventFired")
    if screenshots:
        os.makedirs(screenshots, exist_ok=True)
        screenshot(browser, session, os.path.join(screenshots, "results-sign-in-phone.png"), 844)
    problem = browser.send("Runtime.evaluate", {"expression": SIGN_IN, "returnByValue": True},
                           session)["result"]["value"]
    browser.wait_for("Page.loadEventFired")
    where = browser.send("Runtime.evaluate", {"expression": "location.href",
                                              "returnByValue": True}, session)["result"]["value"]
    return [problem] if problem else [] if where == url else [f"signed in, on {where}"]


def problems_in(events, collector_url, refused_url):
    """What the browser reported: console messages, errors, loads from elsewhere or refused ones
    (but the first answer to `refused_url`, which asks to sign in)."""
    problems = []
    refused_log = refused_url
    for event in events:
        method, params = event.get("method"), event.get("params", {})
        if method == "Runtime.consoleAPICalled":
            problems.append(f"console {params['type']}: {params['args']}")
        elif method == "Runtime.exceptionThrown":
            problems.append(f"script error: {params['exceptionDetails']}")
        elif method == "Log.entryAdded":
            entry = params["entry"]
            if entry.get("url") == refused_log and "401" in entry["text"]:
                refused_log = None
                continue
            problems.append(f"{entry['level']} from {entry['source']}: {entry['text']}")
        elif method == "Network.loadingFailed":
            problems.append(f"a load failed: {params.get('errorText')}")
        elif method == "Network.requestWillBeSent":
            url = params["request"]["url"]
            if not url.startswith((collector_url + "/", "data:")):
                problems.append(f"a load from elsewhere: {url}")
        elif method == "Network.responseReceived":
            url, status = params["response"]["url"], params["response"]["status"]
            if status == 401 and url == refused_url:
                refused_url = None
            elif status >= 400:
                problems.append(f"{url} answered {status}")
    return problems


def load(browser, session, url, width, height, mobile):
    browser.send("Emulation.setDeviceMetricsOverride",
                 {"width": width, "height": height, "deviceScaleFactor": 2 if mobile else 1,
                  "mobile": mobile}, session)
    browser.send("Page.navigate", {"url": url}, session)
    browser.wait_for("Page.loadEventFired")
    return browser.send("Runtime.evaluate", {"expression": CHECKS, "returnByValue": True},
                        session)["result"]["value"]


def screenshot(browser, session, path, most_height):
    """The top of the page, at most `most_height` CSS pixels of it."""
    size = browser.send("Page.getLayoutMetrics", session=session)["cssContentSize"]
    shot = browser.send("Page.captureScreenshot",
                        {"format": "png", "captureBeyondViewport": True,
                         "clip": {"x": 0, "y": 0, "width": size["width"],
                                  "height": min(size["height"], most_height), "scale": 1}},
                        session)
    with open(path, "wb") as file:
        file.write(base64.b64decode(shot["data"]))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("collector")
    parser.add_argument("--screenshots")
    arguments = parser.parse_args()
    if not shutil.which("chromium"):
        print("SKIP: chromium is not installed (scripts/install-deps installs it)")
        return 77

    with tempfile.TemporaryDirectory() as directory:
        collector = Collector(arguments.collector, directory)
        browser = None
        try:
            fill(collector)
            browser = Browser(os.path.join(directory, "profile"))
            target = browser.send("Target.createTarget", {"url": "about:blank"})["targetId"]
            session = browser.send("Target.attachToTarget",
                                   {"targetId": target, "flatten": True})["sessionId"]
            for domain in ("Page", "Runtime", "Log", "Network"):
                browser.send(f"{domain}.enable", session=session)
            page = collector.url + "/results?appId=northwind-ios"
            problems = [f"signing in: {problem}" for problem in sign_in(browser, session, page,
                                                                       arguments.screenshots)]
            screens = [("phone", 390, 844, True, 1688), ("desktop", 1280, 900, False, 1500)]
            for name, width, height, mobile, shown in screens:
                problems += [f"{name}: {problem}"
                             for problem in load(browser, session, page, width, height, mobile)]
                if arguments.screenshots:
                    os.makedirs(arguments.screenshots, exist_ok=True)
                    screenshot(browser, session,
                               os.path.join(arguments.screenshots, f"results-page-{name}.png"),
                               shown)
            problems += problems_in(browser.events, collector.url, page)
        finally:
            if browser:
                browser.close()
            collector.stop()
    for problem in problems:
        print("FAIL", problem)
    if not problems:
        print("results page: signs in with the read token, and loads with no console message on a"
              " phone and a desktop screen")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
