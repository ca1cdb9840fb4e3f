// slides SECONDS: fills every screen with a coloured slide and goes on to the next one after so many seconds, for ever.
// Says "slide N #rrggbb T" for each one, T being the instant on the monotonic clock at which it was put up, so that a
// picture of the screen can be judged by its colour.
#include <QApplication>
#include <QLabel>
#include <QScreen>
#include <QTimer>

#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

/// Dark and bright in turn: pictures are compared without their colours.
constexpr std::array<const char*, 6> colours = {"#20407f", "#d8c890", "#206f30", "#e0b0b0", "#602070", "#a0d8d8"};

class Slides {
public:
    Slides() {
        for (QScreen* screen : QGuiApplication::screens()) {
            auto label = std::make_unique<QLabel>();
            // No window manager in between: it would need a while to make the window fill its screen.
            label->setWindowFlags(Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint);
            label->setGeometry(screen->geometry());
            label->setAlignment(Qt::AlignTop | Qt::AlignHCenter);
            m_labels.push_back(std::move(label));
        }
    }

    void next() {
        const char* colour = colours[m_shown % colours.size()];
        const char* ink = m_shown % 2 == 0 ? "white" : "black";
        ++m_shown;
        for (const auto& label : m_labels) {
            label->setStyleSheet(u"background: %1; color: %2; font-size: 120px"_s.arg(QLatin1StringView(colour),
                                                                                      QLatin1StringView(ink)));
            label->setText(u"Slide %1"_s.arg(m_shown));
            label->show();
            label->repaint();
        }
        const std::chrono::duration<double> now = std::chrono::steady_clock::now().time_since_epoch();
        std::printf("slide %zu %s %.3f\n", m_shown, colour, now.count());
        std::fflush(stdout);
    }

private:
    std::vector<std::unique_ptr<QLabel>> m_labels;
    std::size_t m_shown = 0;
};

} // namespace

int main(int argc, char* argv[]) {
    const QApplication application(argc, argv);
    const double seconds = argc == 2 ? QString::fromLocal8Bit(argv[1]).toDouble() : 0;
    if (seconds <= 0) {
        std::fputs("slides SECONDS\n", stderr);
        return 2;
    }
    Slides slides;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&slides] { slides.next(); });
    timer.start(std::chrono::milliseconds(static_cast<int>(seconds * 1000)));
    slides.next();
    return QApplication::exec();
}
