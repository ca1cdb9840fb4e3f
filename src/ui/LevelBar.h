// A bar as long as a sound is loud.
//   Units    level 0 to 1
//   Threads  the main thread
#pragma once

#include <QColor>
#include <QWidget>

namespace ui {

class LevelBar final : public QWidget {
    Q_OBJECT

public:
    LevelBar(const QString& name, const QColor& colour);

    void setLevel(double level);

    [[nodiscard]] double level() const { return m_level; }

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_colour;
    double m_level = 0;
};

} // namespace ui
