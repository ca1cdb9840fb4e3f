// How a second start speaks to the instance that is running: one word a line, one line of answer.
//   Address  a socket without a file, named by user and data root; both ends look who the other is, and talk to
//            processes of the same user alone
//   Threads  InstanceChannel: the main thread, answered by its event loop. sayToInstance: any; blocks
//   Errors   a name that is taken leaves the program without a channel; a caller that says too much is cut off
//   Idle     costs nothing while nobody calls
#pragma once

#include <QString>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

class QLocalServer;
class QLocalSocket;

namespace entry {

class InstanceChannel {
public:
    /// The window of the running instance comes to the front.
    static constexpr QStringView showWord = u"show";
    /// What is answered to a word that the instance does not know.
    static constexpr QStringView unknownAnswer = u"unknown";
    static constexpr QStringView doneAnswer = u"ok";
    /// Longest line in bytes, and most callers at a time.
    static constexpr qint64 maxLine = 4096;
    static constexpr int maxCallers = 8;
    /// How long a caller may take to say its line. Seconds.
    static constexpr double callerPatience = 5.0;

    /// Gets the word, gives the answer (without a line end).
    using Handler = std::function<QString(const QString& word)>;

    InstanceChannel(const std::filesystem::path& root, Handler handler);
    ~InstanceChannel();
    InstanceChannel(const InstanceChannel&) = delete;
    InstanceChannel& operator=(const InstanceChannel&) = delete;

    [[nodiscard]] bool listening() const;

    [[nodiscard]] static QString address(const std::filesystem::path& root);

private:
    void accept();
    void hear(QLocalSocket& caller);

    Handler m_handler;
    std::unique_ptr<QLocalServer> m_server;
};

/// Says `word` to the instance of `root` and returns its answer. It tries again while nobody listens yet, since the
/// other may just be starting. nullopt: no answer within `limitSeconds`.
[[nodiscard]] std::optional<QString> sayToInstance(const std::filesystem::path& root, const QString& word,
                                                   double limitSeconds);

} // namespace entry
