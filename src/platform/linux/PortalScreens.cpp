#include "platform/linux/PortalScreens.h"

#include "copy/DesktopCopy.h"
#include "platform/linux/PortalPicture.h"

#include <QDBusArgument>
#include <QFile>
#include <QImageReader>
#include <QUrl>
#include <QUuid>

#include <map>
#include <utility>

namespace platform::linux_desktop {

using namespace Qt::StringLiterals;

namespace {

constexpr uint answeredYes = 0;
constexpr QStringView tokenPrefix = u"brieflet";

QString portalName() {
    return u"org.freedesktop.portal.Desktop"_s;
}

QDBusMessage screenshotCall(const QString& token) {
    QDBusMessage call = QDBusMessage::createMethodCall(portalName(), u"/org/freedesktop/portal/desktop"_s,
                                                       u"org.freedesktop.portal.Screenshot"_s, u"Screenshot"_s);
    const QString noWindow;
    call << noWindow << QVariantMap{{u"handle_token"_s, token}, {u"interactive"_s, false}};
    return call;
}

DesktopBus::Signal answers() {
    return {
        .service = portalName(), .path = {}, .interface = u"org.freedesktop.portal.Request"_s, .name = u"Response"_s};
}

/// What is wanted of the picture that a request is answered with.
struct Wanted {
    capture::Rect frame;
    std::vector<capture::Display> screens;
    QSize size;
    capture::ScreenSource::PictureReply reply;
};

std::expected<QImage, QString> pictureOf(const QString& file, const Wanted& wanted) {
    QImageReader reader(file);
    reader.setDecideFormatFromContent(true);
    const QImage all = reader.read();
    QFile::remove(file);
    const QRect part = PortalPicture::partOf(all.size(), wanted.screens, wanted.frame);
    if (all.isNull()) {
        return std::unexpected(QString(copy::DesktopCopy::current().pictureUnreadable));
    }
    if (part.isEmpty()) {
        return std::unexpected(QString(copy::DesktopCopy::current().displayGone));
    }
    return all.copy(part).scaled(wanted.size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace

/// The pictures that the portal still owes. Used on the main thread, but for ask(), which any thread may call.
class PortalScreens::Requests : public std::enable_shared_from_this<PortalScreens::Requests> {
public:
    Requests(base::Dispatch& dispatch, DesktopBus& session)
        : m_main(dispatch.main())
        , m_session(session)
        , m_queue(dispatch.makeSerialQueue("com.orvane.tarvex.screens", base::Priority::Utility)) {}

    void ask(Wanted wanted) {
        m_main.post([weak = weak_from_this(), wanted = std::move(wanted)] {
            if (const auto self = weak.lock()) {
                self->send(wanted);
            }
        });
    }

    void hear(const QDBusMessage& answer) {
        const QString token = answer.path().section(u'/', -1);
        const QVariantMap results = qdbus_cast<QVariantMap>(answer.arguments().value(1));
        const QUrl file(results.value(u"uri"_s).toString());
        if (answer.arguments().value(0).toUInt() != answeredYes || !file.isLocalFile()) {
            fail(token, copy::DesktopCopy::current().pictureRefused);
        } else if (auto wanted = m_waiting.extract(token)) {
            m_queue->post([path = file.toLocalFile(), wanted = std::move(wanted.mapped())] {
                wanted.reply(pictureOf(path, wanted));
            });
        } else if (token.startsWith(tokenPrefix)) {
            QFile::remove(file.toLocalFile()); // too late, but made for us
        }
    }

private:
    void send(const Wanted& wanted) {
        const QString token = tokenPrefix + QUuid::createUuid().toString(QUuid::Id128);
        m_waiting.emplace(token, wanted);
        m_session.call(
            screenshotCall(token), [weak = weak_from_this(), token, main = &m_main](const QDBusMessage& sent) {
                if (sent.type() != QDBusMessage::ReplyMessage) {
                    main->post([weak, token] { failIn(weak, token, copy::DesktopCopy::current().noWaylandPictures); });
                }
            });
        m_main.after(answerLimit, [weak = weak_from_this(), token] {
            failIn(weak, token, copy::DesktopCopy::current().pictureRefused);
        });
    }

    static void failIn(const std::weak_ptr<Requests>& weak, const QString& token, const QString& reason) {
        if (const auto self = weak.lock()) {
            self->fail(token, reason);
        }
    }

    void fail(const QString& token, const QString& reason) {
        if (auto wanted = m_waiting.extract(token)) {
            m_queue->post([reply = std::move(wanted.mapped().reply), reason] { reply(std::unexpected(reason)); });
        }
    }

    base::Scheduler& m_main;
    DesktopBus& m_session;
    std::map<QString, Wanted> m_waiting; ///< by the token that the path of the answer ends with
    std::shared_ptr<base::Scheduler> m_queue;
};

PortalScreens::PortalScreens(base::Dispatch& dispatch, DesktopBus& session)
    : m_screens(dispatch.main(), {})
    , m_requests(std::make_shared<Requests>(dispatch, session))
    , m_answers(session.listen(answers(), [weak = std::weak_ptr(m_requests)](const QDBusMessage& answer) {
        if (const auto requests = weak.lock()) {
            requests->hear(answer);
        }
    })) {}

PortalScreens::~PortalScreens() = default;

void PortalScreens::content(ContentReply reply) {
    m_screens.content(std::move(reply));
}

void PortalScreens::picture(const capture::Display& display, int width, int height, PictureReply reply) {
    m_screens.content([weak = std::weak_ptr(m_requests), frame = display.frame, size = QSize(width, height),
                       reply = std::move(reply)](std::expected<capture::ScreenContent, QString> content) {
        if (const auto requests = weak.lock()) {
            requests->ask({.frame = frame, .screens = std::move(content->displays), .size = size, .reply = reply});
        }
    });
}

} // namespace platform::linux_desktop
