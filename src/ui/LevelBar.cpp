#include "ui/LevelBar.h"

#include <QPainter>

#include <algorithm>

namespace ui {

namespace {

constexpr int barHeight = 6;
constexpr int barWidth = 160;
constexpr double radius = barHeight / 2.0;

} // namespace

LevelBar::LevelBar(const QString& name, const QColor& colour) : m_colour(colour) {
    setAccessibleName(name);
    setToolTip(name);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void LevelBar::setLevel(double level) {
    const double limited = std::clamp(level, 0.0, 1.0);
    if (limited != m_level) {
        m_level = limited;
        update();
    }
}

QSize LevelBar::sizeHint() const {
    return {barWidth, barHeight};
}

void LevelBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().color(QPalette::Midlight));
    painter.drawRoundedRect(rect(), radius, radius);
    QRectF filled = rect();
    filled.setWidth(filled.width() * m_level);
    painter.setBrush(m_colour);
    painter.drawRoundedRect(filled, radius, radius);
}

} // namespace ui
