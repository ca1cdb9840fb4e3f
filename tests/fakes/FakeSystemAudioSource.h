// A system audio source whose every answer the test gives, early, late or never, and that counts.
//   Threads  those of the code under test; the words of the platform come from the test's own
#pragma once

#include "capture/SystemAudioSource.h"

#include <deque>
#include <utility>
#include <vector>

namespace fakes {

class FakeSystemAudioSource final : public capture::SystemAudioSource {
public:
    struct State {
        capture::Display display;
        Settings settings;
        Handlers handlers;
        Stream::StartReply started; ///< kept after it was called: a platform may repeat itself
        std::vector<Stream::StopReply> stops;

        [[nodiscard]] int stopCount() const { return static_cast<int>(stops.size()); }
    };

    std::deque<QString> makeFailures; ///< of the next makeStream() calls, in order; after them they succeed
    std::vector<std::shared_ptr<State>> streams;

    std::expected<std::shared_ptr<Stream>, QString> makeStream(const capture::Display& display,
                                                               const Settings& settings, Handlers handlers) override {
        if (!makeFailures.empty()) {
            auto failure = std::move(makeFailures.front());
            makeFailures.pop_front();
            return std::unexpected(std::move(failure));
        }
        streams.push_back(std::make_shared<State>(State{
            .display = display, .settings = settings, .handlers = std::move(handlers), .started = {}, .stops = {}}));
        return std::make_shared<Held>(streams.back());
    }

    void confirm(std::size_t stream) { call(streams.at(stream)->started, std::nullopt); }

    void refuse(std::size_t stream, const QString& error) { call(streams.at(stream)->started, error); }

    void end(std::size_t stream, const QString& error) { streams.at(stream)->handlers.onStopped(error); }

    void confirmStop(std::size_t stream, std::size_t call = 0) {
        if (const auto reply = streams.at(stream)->stops.at(call)) {
            reply();
        }
    }

    void deliver(std::size_t stream, const capture::AudioBlock& block) { streams.at(stream)->handlers.onBlock(block); }

    ~FakeSystemAudioSource() override {
        for (const auto& stream : streams) { // replies hold their streams: let go of what was never answered
            stream->started = {};
            stream->stops.clear();
        }
    }

    FakeSystemAudioSource() = default;

private:
    static void call(const Stream::StartReply& reply, const std::optional<QString>& error) {
        const auto kept = reply;
        kept(error);
    }

    class Held final : public Stream {
    public:
        explicit Held(std::shared_ptr<State> state) : m_state(std::move(state)) {}

        void startCapture(StartReply reply) override { m_state->started = std::move(reply); }

        void stopCapture(StopReply reply) override { m_state->stops.push_back(std::move(reply)); }

    private:
        std::shared_ptr<State> m_state;
    };
};

} // namespace fakes
