#include "app/SingleInstance.h"

#include "app/Desktop.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>

namespace harbor {

namespace {

constexpr int patience = 2000;  // milliseconds for a first process that is busy

}  // namespace

SingleInstance::SingleInstance(QString folder)
    : socket_(folder + QStringLiteral("/tallowick-harbor.socket"))
{
    QDir().mkpath(folder);
    lock_ = std::make_unique<QLockFile>(folder + QStringLiteral("/tallowick-harbor.lock"));
    lock_->setStaleLockTime(0);  // Only a dead owner frees it, never its age.
}

SingleInstance::~SingleInstance() = default;

bool SingleInstance::claim(QString const& request)
{
    // The lock decides, not the socket: of two processes started at once one would remove the other's socket.
    if (lock_->tryLock()) {
        listen();
        return true;
    }
    if (lock_->error() != QLockFile::LockFailedError)
        return true;  // No place to lock is no reason to refuse the user.
    handOver(request);
    return false;
}

void SingleInstance::handOver(QString const& request) const
{
    QLocalSocket socket;
    socket.connectToServer(socket_);
    if (!socket.waitForConnected(patience))
        return;
    socket.write(request.toUtf8() + '\n');
    socket.waitForBytesWritten(patience);
}

void SingleInstance::listen()
{
    server_ = std::make_unique<QLocalServer>();
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    connect(server_.get(), &QLocalServer::newConnection, this, &SingleInstance::receive);
    QLocalServer::removeServer(socket_);
    server_->listen(socket_);
}

void SingleInstance::receive()
{
    while (auto* const socket = server_->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine())
                return;
            auto line = socket->readLine();
            line.chop(1);
            Q_EMIT activated(QString::fromUtf8(line));
        });
    }
}

QString SingleInstance::userFolder()
{
    auto const runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return QDir::isAbsolutePath(runtime) ? runtime : QFileInfo(stateFile(QStringLiteral("x"))).path();
}

}  // namespace harbor
