#pragma once

#include <QString>
#include <QStringList>

namespace harbor {

/// What the program was started for. It travels as one line to the process that already runs.
struct StartRequest {
    enum class Kind { showWindow, newSite, importPackage };
    Kind kind = Kind::showWindow;
    QString package;  ///< Absolute path; empty for an import sheet that asks for the file.

    bool operator==(StartRequest const&) const = default;

    /// Without a line break, whatever the path holds.
    QString line() const;
    /// A line that means nothing here, as another version may send it, shows the window.
    static StartRequest fromLine(QString const& line);
};

/// What the words of a command line lead to: a start, or a text and the end.
struct StartWords {
    StartRequest request;
    QString output;  ///< Printed in place of a start.
    bool isOver = false;
    bool hasFailed = false;
};

/// @param words  without the program's own name; a relative path counts from the working directory
StartWords readStartWords(QStringList const& words);

}  // namespace harbor
