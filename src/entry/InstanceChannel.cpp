#include "entry/InstanceChannel.h"

#include "base/Files.h"
#include "base/Handle.h"
#include "base/HostClock.h"

#include <QCryptographicHash>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTimer>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace entry {

using namespace Qt::StringLiterals;

namespace {

constexpr int retryMilliseconds = 50;

/// Whoever is at the other end of a socket could be anybody: the name alone protects nothing.
bool isOwnUser(int descriptor) {
    ucred peer{};
    socklen_t length = sizeof peer;
    return ::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && peer.uid == ::geteuid();
}

QByteArray line(QStringView text) {
    return text.toUtf8() + '\n';
}

/// A socket connected to the running instance; empty while nobody of this user listens there.
base::FileDescriptor connectTo(const QString& address) {
    base::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const QByteArray name = address.toUtf8();
    sockaddr_un target{};
    target.sun_family = AF_UNIX;
    if (!socket || static_cast<std::size_t>(name.size()) >= sizeof target.sun_path) {
        return {};
    }
    // The byte before the name stays 0: such a name is no file.
    std::memcpy(target.sun_path + 1, name.constData(), static_cast<std::size_t>(name.size()));
    const auto length =
        static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + static_cast<std::size_t>(name.size()));
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&target), length) != 0 || !isOwnUser(socket.get())) {
        return {};
    }
    return socket;
}

/// The first line that comes within the time; nullopt when none does.
std::optional<QByteArray> readLine(int socket, const base::HostClock& clock, double deadline) {
    QByteArray heard;
    while (!heard.contains('\n')) {
        pollfd readable{.fd = socket, .events = POLLIN, .revents = 0};
        const int wait = std::max(0, static_cast<int>((deadline - clock.now()) * 1000.0));
        if (::poll(&readable, 1, wait) <= 0) {
            return std::nullopt;
        }
        std::array<char, 256> part{};
        const auto count = ::recv(socket, part.data(), part.size(), 0);
        if (count <= 0 || heard.size() > InstanceChannel::maxLine) {
            return std::nullopt;
        }
        heard.append(part.data(), static_cast<qsizetype>(count));
    }
    return heard.left(heard.indexOf('\n'));
}

std::optional<QString> askOnce(const QString& address, const QString& word, const base::HostClock& clock,
                               double deadline) {
    const base::FileDescriptor socket = connectTo(address);
    const QByteArray said = line(word);
    if (!socket || ::send(socket.get(), said.constData(), static_cast<std::size_t>(said.size()), MSG_NOSIGNAL) !=
                       static_cast<ssize_t>(said.size())) {
        return std::nullopt;
    }
    const auto answer = readLine(socket.get(), clock, deadline);
    return answer ? std::optional(QString::fromUtf8(*answer).trimmed()) : std::nullopt;
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
        if (!isOwnUser(static_cast<int>(caller->socketDescriptor())) || callers > maxCallers) {
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
