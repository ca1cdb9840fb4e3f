// A microphone that can fail to open, lose its device, and hang, and that counts.
//   Threads  those of the code under test; the words of the device come from the test's own
#pragma once

#include "capture/AudioInput.h"

#include <deque>
#include <utility>
#include <vector>

namespace fakes {

class FakeAudioInput final : public capture::AudioInput {
public:
    struct State {
        Handlers handlers;
        bool started = false;
        bool ended = false;
        bool replacedOne = false; ///< opened in place of an older stream
    };

    std::deque<capture::CaptureError> failures;  ///< of the next opens, in order; after them opening succeeds
    std::function<void()> duringOpen;            ///< runs inside every open(): the platform takes its time
    int opens = 0;                               ///< tries, failed ones too
    std::vector<std::shared_ptr<State>> streams; ///< those that opened, oldest first
    std::vector<QString> events;                 ///< "open 0", "start 0", "end 0" in the order of their happening

    std::expected<std::unique_ptr<Stream>, capture::CaptureError> open(Handlers handlers,
                                                                       const Stream* replaced) override {
        ++opens;
        if (duringOpen) {
            duringOpen();
        }
        if (!failures.empty()) {
            auto failure = std::move(failures.front());
            failures.pop_front();
            return std::unexpected(std::move(failure));
        }
        streams.push_back(
            std::make_shared<State>(State{.handlers = std::move(handlers), .replacedOne = replaced != nullptr}));
        note("open", streams.size() - 1);
        return std::make_unique<Held>(*this, streams.size() - 1);
    }

    std::unique_ptr<Watch> watch(std::function<void()> onChange) override {
        m_watcher = std::make_shared<std::function<void()>>(std::move(onChange));
        return std::make_unique<HeldWatch>(m_watcher);
    }

    [[nodiscard]] bool watched() const { return m_watcher.use_count() > 1; }

    [[nodiscard]] int running() const {
        int count = 0;
        for (const auto& stream : streams) {
            count += stream->started && !stream->ended ? 1 : 0;
        }
        return count;
    }

    /// The system says that its devices have changed; a word already on its way comes even after the watch has ended.
    void change() {
        if (m_watcher) {
            (*m_watcher)();
        }
    }

    /// The given stream fails, also when it has been replaced: the word may have been on its way.
    void lose(std::size_t stream) { streams.at(stream)->handlers.onLost(QStringLiteral("unplugged")); }

    void deliver(std::size_t stream, const capture::AudioBlock& block) { streams.at(stream)->handlers.onBlock(block); }

private:
    class Held final : public Stream {
    public:
        Held(FakeAudioInput& input, std::size_t number) : m_input(input), m_number(number) {}

        ~Held() override {
            m_input.streams[m_number]->ended = true;
            m_input.note("end", m_number);
        }

        void start() override {
            m_input.streams[m_number]->started = true;
            m_input.note("start", m_number);
        }

    private:
        FakeAudioInput& m_input;
        std::size_t m_number;
    };

    class HeldWatch final : public Watch {
    public:
        explicit HeldWatch(std::shared_ptr<std::function<void()>> watcher) : m_watcher(std::move(watcher)) {}

    private:
        std::shared_ptr<std::function<void()>> m_watcher;
    };

    void note(const char* what, std::size_t number) {
        events.push_back(QStringLiteral("%1 %2").arg(QLatin1String(what)).arg(number));
    }

    std::shared_ptr<std::function<void()>> m_watcher;
};

} // namespace fakes
