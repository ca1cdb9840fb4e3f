// A text of the tables: a UTF-16 literal that lives as long as the program.
//   Cost     made at compile time; becoming a QString allocates nothing
//   Threads  any
#pragma once

#include <QString>
#include <QStringBuilder>
#include <QStringView>

#include <cstddef>

namespace copy {

class FixedText : public QStringView {
public:
    template<std::size_t size> // implicit, so that tables are plain lists of literals
    consteval FixedText(const char16_t (&literal)[size]) : QStringView(literal, static_cast<qsizetype>(size) - 1) {}

    operator QString() const { return toString(); }

    [[nodiscard]] QString toString() const { return QString::fromRawData(data(), size()); }

    friend bool operator==(const FixedText& left, const FixedText& right) {
        return QStringView(left) == QStringView(right);
    }

    friend bool operator==(const FixedText& left, const QString& right) {
        return QStringView(left) == QStringView(right);
    }
};

} // namespace copy

/// Lets a text be a piece of `a + b`.
template<>
struct QConcatenable<copy::FixedText> : QConcatenable<QStringView> {};
