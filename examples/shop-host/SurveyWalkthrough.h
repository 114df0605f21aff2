#pragma once

// Answers the checkout survey (examples/checkout-survey.json) as a person at the shop does, with
// real input events: each control is found by what a screen reader calls it among the survey
// overlay's accessible children, and clicked, or typed into, through the shop's window. Then
// checks the response that the shop's collector stored.

#include <QObject>
#include <QString>
#include <QWindow>
#include <functional>

#include <vlq/collector/CollectorServer.h>

// Accepts the invitation, answers the three questions ("Easy enough"; "Order tracking" and an
// Other answer typed on the keyboard; four stars of five) and submits. `answered`, when given, is
// called once the first question is answered (to take a picture of the page). False, with a
// message on standard error, when a control does not show within a few seconds.
bool answerCheckoutSurvey(QObject* surveys, QWindow* window,
                          const std::function<void()>& answered = {});

// True when `collector` stored exactly one response, with those answers; otherwise says what it
// holds on standard error.
bool checkStoredResponse(const vlq::collector::CollectorServer& collector);

// Runs Qt's event loop until `done` holds or `seconds` passed; returns whether it holds.
bool waitUntil(const std::function<bool()>& done, double seconds = 10);
