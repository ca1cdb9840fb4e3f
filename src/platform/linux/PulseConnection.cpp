#include "platform/linux/PulseConnection.h"

#include "copy/DesktopCopy.h"
#include "copy/Strings.h"

#include <pulse/error.h>
#include <pulse/proplist.h>
#include <pulse/rtclock.h>
#include <pulse/thread-mainloop.h>
#include <pulse/timeval.h>

#include <unistd.h>
#include <utility>

namespace platform::linux_desktop {

namespace {

using Operation = base::Owned<pa_operation, pa_operation_unref>;

/// What a question collects. `end` tells that nothing more will come.
template<typename Item>
struct Reply {
    PulseLoop* loop = nullptr;
    std::vector<Item> items;
    bool ended = false;

    void end() {
        ended = true;
        loop->signal();
    }
};

std::string text(const char* words) {
    return words ? words : "";
}

PulseConnection::Source describe(const pa_source_info& info) {
    return {
        .index = info.index,
        .name = text(info.name),
        .description = QString::fromUtf8(info.description ? info.description : info.name),
        .playsBack = info.monitor_of_sink != PA_INVALID_INDEX,
        .format = info.sample_spec,
        .channels = info.channel_map,
    };
}

PulseConnection::Sink describe(const pa_sink_info& info) {
    return {.index = info.index, .name = text(info.name), .monitor = text(info.monitor_source_name)};
}

PulseConnection::SinkInput describe(const pa_sink_input_info& info) {
    const char* process = pa_proplist_gets(info.proplist, PA_PROP_APPLICATION_PROCESS_ID);
    return {.index = info.index, .sink = info.sink, .ours = process && std::to_string(::getpid()) == process};
}

/// The callback of every question about a list: items, then one call with `end` not 0 (below 0: there is none).
template<typename Item, typename Info>
void collect(pa_context*, const Info* info, int end, void* userdata) {
    auto& reply = *static_cast<Reply<Item>*>(userdata);
    if (end != 0) {
        reply.end();
    } else {
        reply.items.push_back(describe(*info));
    }
}

template<typename Item>
std::optional<Item> onlyOne(std::vector<Item>&& items) {
    return items.empty() ? std::nullopt : std::optional(std::move(items.front()));
}

} // namespace

Deadline::Deadline(double secondsFromNow)
    : m_moment(pa_rtclock_now() + static_cast<pa_usec_t>(secondsFromNow * PA_USEC_PER_SEC)) {}

bool Deadline::passed() const {
    return pa_rtclock_now() >= m_moment;
}

PulseConnection::Answered<std::unique_ptr<PulseConnection>> PulseConnection::open(PulseLoop& loop, Deadline deadline) {
    auto* const mainloop = loop.mainloop();
    if (!mainloop) {
        return std::unexpected(QString(copy::DesktopCopy::current().noSoundServer));
    }
    std::unique_ptr<PulseConnection> connection(new PulseConnection(loop));
    const PulseLoop::Lock lock(loop);
    const QString name = copy::Strings::appName;
    connection->m_context.reset(pa_context_new(pa_threaded_mainloop_get_api(mainloop), name.toUtf8().constData()));
    auto* const context = connection->m_context.get();
    pa_context_set_state_callback(
        context, [](pa_context*, void* self) { static_cast<PulseConnection*>(self)->stateChanged(); },
        connection.get());
    if (pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
        return std::unexpected(connection->errorText());
    }
    const auto failure =
        connection->waitUntil([context] { return pa_context_get_state(context) == PA_CONTEXT_READY; }, deadline);
    if (failure) {
        return std::unexpected(*failure);
    }
    return connection;
}

PulseConnection::~PulseConnection() {
    const PulseLoop::Lock lock(m_loop);
    if (m_context) {
        pa_context_set_state_callback(m_context.get(), nullptr, nullptr);
        pa_context_set_subscribe_callback(m_context.get(), nullptr, nullptr);
        pa_context_disconnect(m_context.get());
        m_context.reset();
    }
}

void PulseConnection::stateChanged() {
    m_loop.signal();
    if (!PA_CONTEXT_IS_GOOD(pa_context_get_state(m_context.get())) && m_onLost) {
        std::exchange(m_onLost, {})(errorText());
    }
}

QString PulseConnection::errorText() const {
    const int error = pa_context_errno(m_context.get());
    if (error == PA_ERR_CONNECTIONREFUSED || error == PA_ERR_INVALIDSERVER) {
        return copy::DesktopCopy::current().noSoundServer;
    }
    return QString::fromLocal8Bit(pa_strerror(error));
}

std::optional<QString> PulseConnection::waitUntil(const std::function<bool()>& done, Deadline deadline) {
    auto* const timer = pa_context_rttime_new(
        m_context.get(), deadline.moment(),
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* loop) { static_cast<PulseLoop*>(loop)->signal(); },
        &m_loop);
    std::optional<QString> failure;
    while (!done() && !failure) {
        if (!PA_CONTEXT_IS_GOOD(pa_context_get_state(m_context.get()))) {
            failure = errorText();
        } else if (deadline.passed()) {
            failure = QString(copy::DesktopCopy::current().soundServerSilent);
        } else {
            m_loop.wait();
        }
    }
    pa_threaded_mainloop_get_api(m_loop.mainloop())->time_free(timer);
    return failure;
}

template<typename Reply, typename Ask>
std::optional<QString> PulseConnection::ask(Reply& reply, Deadline deadline, Ask ask) {
    const PulseLoop::Lock lock(m_loop);
    reply.loop = &m_loop;
    const Operation operation(ask(m_context.get(), &reply));
    if (!operation) {
        return errorText();
    }
    const auto failure = waitUntil([&] { return reply.ended; }, deadline);
    pa_operation_cancel(operation.get()); // it must not find `reply` when that is gone
    return failure;
}

PulseConnection::Answered<PulseConnection::Defaults> PulseConnection::defaults(Deadline deadline) {
    Reply<Defaults> reply;
    const auto failure = ask(reply, deadline, [](pa_context* context, void* userdata) {
        return pa_context_get_server_info(
            context,
            [](pa_context*, const pa_server_info* info, void* target) {
                auto& answer = *static_cast<Reply<Defaults>*>(target);
                if (info) {
                    answer.items.push_back(
                        {.source = text(info->default_source_name), .sink = text(info->default_sink_name)});
                }
                answer.end();
            },
            userdata);
    });
    if (failure) {
        return std::unexpected(*failure);
    }
    return onlyOne(std::move(reply.items)).value_or(Defaults{});
}

PulseConnection::Answered<std::optional<PulseConnection::Source>> PulseConnection::source(const std::string& name,
                                                                                          Deadline deadline) {
    if (name.empty()) {
        return std::nullopt; // the library refuses to ask for it
    }
    Reply<Source> reply;
    const auto failure = ask(reply, deadline, [&](pa_context* context, void* userdata) {
        return pa_context_get_source_info_by_name(context, name.c_str(), collect<Source, pa_source_info>, userdata);
    });
    if (failure) {
        return std::unexpected(*failure);
    }
    return onlyOne(std::move(reply.items));
}

PulseConnection::Answered<std::vector<PulseConnection::Source>> PulseConnection::sources(Deadline deadline) {
    Reply<Source> reply;
    const auto failure = ask(reply, deadline, [](pa_context* context, void* userdata) {
        return pa_context_get_source_info_list(context, collect<Source, pa_source_info>, userdata);
    });
    if (failure) {
        return std::unexpected(*failure);
    }
    return std::move(reply.items);
}

PulseConnection::Answered<std::optional<PulseConnection::Sink>> PulseConnection::sink(const std::string& name,
                                                                                      Deadline deadline) {
    if (name.empty()) {
        return std::nullopt; // the library refuses to ask for it
    }
    Reply<Sink> reply;
    const auto failure = ask(reply, deadline, [&](pa_context* context, void* userdata) {
        return pa_context_get_sink_info_by_name(context, name.c_str(), collect<Sink, pa_sink_info>, userdata);
    });
    if (failure) {
        return std::unexpected(*failure);
    }
    return onlyOne(std::move(reply.items));
}

PulseConnection::Answered<std::vector<PulseConnection::SinkInput>> PulseConnection::sinkInputs(Deadline deadline) {
    Reply<SinkInput> reply;
    const auto failure = ask(reply, deadline, [](pa_context* context, void* userdata) {
        return pa_context_get_sink_input_info_list(context, collect<SinkInput, pa_sink_input_info>, userdata);
    });
    if (failure) {
        return std::unexpected(*failure);
    }
    return std::move(reply.items);
}

PulseConnection::Answered<bool> PulseConnection::listen(pa_subscription_mask_t facilities, OnEvent onEvent,
                                                        std::function<void(QString)> onLost, Deadline deadline) {
    Reply<bool> reply;
    const auto failure = ask(reply, deadline, [&](pa_context* context, void* userdata) {
        m_onEvent = std::move(onEvent);
        m_onLost = std::move(onLost);
        pa_context_set_subscribe_callback(
            context,
            [](pa_context*, pa_subscription_event_type_t kind, std::uint32_t index, void* self) {
                static_cast<PulseConnection*>(self)->m_onEvent(kind, index);
            },
            this);
        return pa_context_subscribe(
            context, facilities,
            [](pa_context*, int success, void* target) {
                auto& answer = *static_cast<Reply<bool>*>(target);
                answer.items.push_back(success != 0);
                answer.end();
            },
            userdata);
    });
    if (failure) {
        return std::unexpected(*failure);
    }
    return reply.items.front();
}

bool soundServerAnswers(PulseLoop& loop, Deadline deadline) {
    return PulseConnection::open(loop, deadline).has_value();
}

} // namespace platform::linux_desktop
