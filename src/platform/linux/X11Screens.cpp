#include "platform/linux/X11Screens.h"

#include "copy/DesktopCopy.h"
#include "platform/linux/X11Connection.h"
#include "platform/linux/X11Monitors.h"
#include "platform/linux/X11Picture.h"
#include "platform/linux/X11Windows.h"

#include <QRect>

#include <mutex>
#include <utility>

namespace platform::linux_desktop {

namespace {

QString noServer() {
    return copy::DesktopCopy::current().noDisplayServer;
}

QString textOf(X11Picture::Failure failure) {
    switch (failure) {
    case X11Picture::Failure::Gone:
        return copy::DesktopCopy::current().displayGone;
    case X11Picture::Failure::Unreadable:
        return copy::DesktopCopy::current().pictureUnreadable;
    case X11Picture::Failure::Lost:
        return noServer();
    }
    return {};
}

QRect rectOf(const capture::Rect& frame) {
    return {static_cast<int>(frame.x), static_cast<int>(frame.y), static_cast<int>(frame.width),
            static_cast<int>(frame.height)};
}

QImage fitted(QImage picture, int width, int height) {
    if (picture.width() == width && picture.height() == height) {
        return picture;
    }
    return picture.scaled(width, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace

/// Holds the connection. All but end() is called on the queue.
class X11Screens::Worker {
public:
    explicit Worker(double replyLimitSeconds) : m_replyLimit(replyLimitSeconds) {}

    std::expected<capture::ScreenContent, QString> content() {
        X11Connection* server = connection();
        if (server == nullptr) {
            return std::unexpected(noServer());
        }
        auto monitors = X11Monitors::list(*server);
        auto windows = X11Windows::onScreen(*server);
        server->dropEvents();
        if (!monitors || !windows) {
            return std::unexpected(noServer());
        }
        return capture::ScreenContent{
            .displays = std::move(monitors->displays), .windows = std::move(*windows), .mainDisplay = monitors->main};
    }

    std::expected<QImage, QString> picture(std::uint32_t display, int width, int height) {
        X11Connection* server = connection();
        if (server == nullptr) {
            return std::unexpected(noServer());
        }
        const auto monitors =
            X11Monitors::list(*server); // it may have moved, changed its mode or gone since it was told
        if (!monitors) {
            return std::unexpected(noServer());
        }
        const capture::Display* found = monitors->find(display);
        if (found == nullptr) {
            return std::unexpected(textOf(X11Picture::Failure::Gone));
        }
        auto grabbed = X11Picture::grab(*server, rectOf(found->frame));
        if (!grabbed) {
            return std::unexpected(textOf(grabbed.error()));
        }
        return fitted(std::move(*grabbed), width, height);
    }

    /// Any thread: what waits for the server gives up, and nothing connects again.
    void end() {
        const std::scoped_lock lock(m_mutex);
        m_ended = true;
        if (m_connection) {
            m_connection->interrupt();
        }
        if (m_greeting) {
            m_greeting->cancel();
        }
    }

private:
    /// A connection that is alive as far as is known; nullptr when no server answers.
    X11Connection* connection() {
        std::shared_ptr<X11Greeting> greeting;
        {
            const std::scoped_lock lock(m_mutex);
            if (m_connection && !m_connection->isDead()) {
                return m_connection.get();
            }
            m_connection.reset();
            if (m_ended) {
                return nullptr;
            }
            if (!m_greeting) {
                m_greeting = std::make_shared<X11Greeting>();
            }
            greeting = m_greeting;
        }
        auto greeted = greeting->wait(m_replyLimit);
        if (!greeted) {
            return nullptr; // a server that hangs is asked to greet once, however often it is wanted
        }
        auto fresh = X11Connection::open(std::move(*greeted), m_replyLimit);
        const std::scoped_lock lock(m_mutex);
        m_greeting.reset();
        m_connection = m_ended ? nullptr : std::move(fresh);
        return m_connection.get();
    }

    std::mutex m_mutex; ///< over the pointer, not over what is done with it
    std::unique_ptr<X11Connection> m_connection;
    std::shared_ptr<X11Greeting> m_greeting; ///< while a connection is being made
    bool m_ended = false;
    const double m_replyLimit;
};

X11Screens::X11Screens(base::Dispatch& dispatch, double replyLimitSeconds)
    : m_worker(std::make_shared<Worker>(replyLimitSeconds))
    , m_queue(dispatch.makeSerialQueue("com.orvane.tarvex.screens", base::Priority::Utility)) {}

X11Screens::~X11Screens() {
    m_worker->end();
}

void X11Screens::content(ContentReply reply) {
    m_queue->post([worker = m_worker, reply = std::move(reply)] { reply(worker->content()); });
}

void X11Screens::picture(const capture::Display& display, int width, int height, PictureReply reply) {
    m_queue->post([worker = m_worker, id = display.id, width, height, reply = std::move(reply)] {
        reply(worker->picture(id, width, height));
    });
}

} // namespace platform::linux_desktop
