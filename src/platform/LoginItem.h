#pragma once

#include <QString>

// Whether Wendle starts when the user logs in: an XDG autostart entry on
// Linux, the application's login item on macOS.
class LoginItem {
public:
    virtual ~LoginItem() = default;

    // False for a copy of Wendle that was never installed (run from its build
    // folder): an entry would name a program that may soon be gone.
    virtual bool isAvailable() = 0;
    virtual bool isEnabled() = 0;
    // Returns false, with a reason the user can act on in `error`, when the
    // change could not be made; the previous state then stands.
    virtual bool setEnabled(bool enabled, QString* error) = 0;
};
