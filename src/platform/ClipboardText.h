#pragma once

#include <QString>

// The plain text read from the clipboard or the PRIMARY selection, or why
// there is none to use.
struct ClipboardText {
    enum class Status {
        read,     // `text` is what it holds; empty when it holds no plain text
        secret,   // a password manager marked it secret: its text was never read
        noAnswer, // the program that owns it did not answer in time
    };

    Status status = Status::read;
    QString text; // empty unless `status` is `read`

    // Text that can be worked on: read, and more than white space.
    bool hasText() const { return status == Status::read && !text.trimmed().isEmpty(); }
    bool operator==(const ClipboardText&) const = default;
};
