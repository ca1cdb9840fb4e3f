#include "entry/InstanceChannel.h"

#include "base/Files.h"
#include "base/HostClock.h"

#include <QCryptographicHash>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTimer>

#include <algorithm>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace entry {

using namespace Qt::StringLiterals;

namespace {

constexpr int retryMilliseconds = 50;

bool isOwnUser(const QLocalSocket& socket) {
    ucred peer{};
    socklen_t length = sizeof peer;
    const int descriptor = static_cast<int>(socket.socketDescriptor());
    return ::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && peer.uid == ::geteuid();
}

QByteArray line(QStringView text) {
    return text.toUtf8() + '\n';
}

/// Milliseconds left until `deadline`, at least one so that Qt does not take it for "without end".
int remaining(const base::HostClock& clock, double deadline) {
    return std::max(1, static_cast<int>((deadline - clock.now()) * 1000.0));
}

std::optional<QString> askOnce(const QString& address, const QString& word, const base::HostClock& clock,
                               double deadline) {
    QLocalSocket socket;
    socket.setSocketOptions(QLocalSocket::AbstractNamespaceOption);
    socket.connectToServer(address);
    if (!socket.waitForConnected(remaining(clock, deadline)) || !isOwnUser(socket)) {
        return std::nullopt;
    }
    socket.write(line(word));
    while (!socket.canReadLine()) {
        if (clock.now() >= deadline || !socket.waitForReadyRead(remaining(clock, deadline))) {
            return std::nullopt;
        }
    }
    return QString::fromUtf8(socket.readLine(InstanceChannel::maxLine)).trimmed();
}

} // namespace

QString InstanceChannel::address(const std::filesystem::path& root) {
    // A name without a file is at most 107 bytes long, hence the hash; it only keeps roots apart.
    const QByteArray hash =
        QCryptographicHash::hash(base::standardizedText(root).toUtf8(), QCryptographicHash::Sha256).toHex().left(32);
    return u"com.orvane.tarvex."_s + QString::number(::geteuid()) + u'.' + QString::fromLatin1(hash);
}

InstanceChannel::InstanceChannel(const std::filesystem::path& root, Handler handler)
    : m_handler(std::move(handler))
    , m_server(std::make_unique<QLocalServer>()) {
    m_server->setSocketOptions(QLocalServer::AbstractNamespaceOption);
    m_server->setMaxPendingConnections(maxCallers);
    QObject::connect(m_server.get(), &QLocalServer::newConnection, m_server.get(), [this] { accept(); });
    m_server->listen(address(root));
}

InstanceChannel::~InstanceChannel() = default;

bool InstanceChannel::listening() const {
    return m_server->isListening();
}

void InstanceChannel::accept() {
    while (QLocalSocket* caller = m_server->nextPendingConnection()) {
        const auto callers = m_server->findChildren<QLocalSocket*>(Qt::FindDirectChildrenOnly).size();
        if (!isOwnUser(*caller) || callers > maxCallers) {
            delete caller;
            continue;
        }
        caller->setReadBufferSize(maxLine);
        QObject::connect(caller, &QLocalSocket::disconnected, caller, &QObject::deleteLater);
        QObject::connect(caller, &QLocalSocket::readyRead, caller, [this, caller] { hear(*caller); });
        QTimer::singleShot(static_cast<int>(callerPatience * 1000.0), caller, [caller] { caller->abort(); });
        hear(*caller);
    }
}

void InstanceChannel::hear(QLocalSocket& caller) {
    if (caller.canReadLine()) {
        const QString word = QString::fromUtf8(caller.readLine(maxLine)).trimmed();
        caller.write(line(m_handler(word)));
        caller.disconnectFromServer(); // flushes what was written
    } else if (caller.bytesAvailable() >= maxLine) {
        caller.abort();
    }
}

std::optional<QString> sayToInstance(const std::filesystem::path& root, const QString& word, double limitSeconds) {
    const base::MonotonicClock clock;
    const double deadline = clock.now() + limitSeconds;
    const QString address = InstanceChannel::address(root);
    for (;;) {
        if (auto answer = askOnce(address, word, clock, deadline)) {
            return answer;
        }
        if (clock.now() >= deadline) {
            return std::nullopt;
        }
        ::poll(nullptr, 0, retryMilliseconds);
    }
}

} // namespace entry
