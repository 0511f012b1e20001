#pragma once

#include <QCoroTask>
#include <QString>
#include <QStringList>

#include <functional>

// A modal alert with a message, an informative text and buttons, shown
// without a nested event loop: the caller awaits the user's answer.
namespace Alert {

struct Content {
    QString message;
    QString informative;
    // Left to right as the user reads them; the first is the default. Empty:
    // a single "OK".
    QStringList buttons;
    // A notice that leaves the rest of the application usable.
    bool modal = true;
};

// Shows the alert and answers the position of the chosen button in
// `buttons` (0 for "OK", and -1 when the alert was closed without a choice).
QCoro::Task<int> show(Content content);

// The way alerts are shown; tests substitute one that answers at once.
using Presenter = std::function<QCoro::Task<int>(Content)>;
Presenter realPresenter();

} // namespace Alert
