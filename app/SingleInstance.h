#pragma once

#include <QObject>
#include <QString>

#include <memory>

class QLocalServer;
class QLockFile;

namespace harbor {

/// Lets one process of a user run, since nothing guards a site against two. A second start hands what it was
/// asked for to the first and ends.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    /// @param folder  private to the user; the socket and its lock stand there
    explicit SingleInstance(QString folder);
    ~SingleInstance() override;

    /// Whether this process is the first. If it is not, `request` has been handed to the one that is.
    /// @param request  what the start was for, one line
    bool claim(QString const& request);

    /// The user's private folder for sockets: `$XDG_RUNTIME_DIR`, else the program's state folder.
    static QString userFolder();

Q_SIGNALS:
    /// Another start asked for the window, and for what its line says.
    void activated(QString const& request);

private:
    void handOver(QString const& request) const;
    void listen();
    void receive();

    QString socket_;
    std::unique_ptr<QLockFile> lock_;
    std::unique_ptr<QLocalServer> server_;
};

}  // namespace harbor
