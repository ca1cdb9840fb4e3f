// What the record button shows.
#pragma once

namespace ui {

struct RecordButtonState {
    enum class Kind { Idle, Starting, Recording, Stopping };
    Kind kind = Kind::Idle;
    double elapsedSeconds = 0; ///< of a recording; 0 in every other kind

    [[nodiscard]] static constexpr RecordButtonState idle() noexcept { return {}; }

    [[nodiscard]] static constexpr RecordButtonState starting() noexcept { return {Kind::Starting, 0}; }

    [[nodiscard]] static constexpr RecordButtonState stopping() noexcept { return {Kind::Stopping, 0}; }

    [[nodiscard]] static constexpr RecordButtonState recording(double elapsedSeconds) noexcept {
        return {Kind::Recording, elapsedSeconds};
    }

    bool operator==(const RecordButtonState&) const = default;
};

} // namespace ui
