#include "ai/ClaudeReply.h"

#include "ai/JsonFields_p.h"
#include "ai/LastLine.h"
#include "ai/WorkFolder.h"
#include "base/Text.h"
#include "copy/Strings.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace ai::AIPipeline {
namespace {

constexpr QStringView fence = u"```";

std::unexpected<AIFailure> failure(const QString& message) {
    return std::unexpected(AIFailure{AIStep::Summarize, message});
}

std::unexpected<AIFailure> unreadable() {
    return failure(copy::Strings::aiErrClaudeOutput);
}

std::optional<base::Json> objectFrom(QByteArrayView bytes) {
    if (bytes.size() > replyLimit) {
        return std::nullopt;
    }
    auto json = base::parseJson(bytes);
    return json && json->isObject() ? std::optional(std::move(*json)) : std::nullopt;
}

const base::Json* structuredOutput(const base::Json& envelope) {
    const auto* output = envelope.find(u"structured_output");
    return output != nullptr && output->isObject() ? output : nullptr;
}

std::optional<QString> nonEmptyString(const base::Json& object, QStringView key) {
    return stringAt(object, key).and_then([](const QString& text) {
        return text.isEmpty() ? std::nullopt : std::optional(text);
    });
}

QString withoutFences(const QString& text) {
    if (!text.startsWith(fence)) {
        return text;
    }
    QStringList lines = text.split(u'\n');
    lines.removeFirst();
    lines.removeIf([](const QString& line) { return line.startsWith(fence); });
    return lines.join(u'\n');
}

/// Why the tool ended with `status`, in its own words if it has any.
QString complaint(const std::optional<base::Json>& envelope, const ProcessRunner::Output& output) {
    if (const auto result = envelope ? nonEmptyString(*envelope, u"result") : std::nullopt) {
        return *result;
    }
    const QString line = lastLine(output.standardError);
    return line.isEmpty() ? u"exit "_s + QString::number(output.status) : line;
}

std::expected<base::Json, AIFailure> replyOf(const ProcessRunner::Output& output) {
    if (output.status == 0) {
        return parseReply(output.standardOutput);
    }
    const auto envelope = objectFrom(output.standardOutput);
    if (envelope && structuredOutput(*envelope) != nullptr) {
        return parseReply(output.standardOutput); // it has complained, but the answer is there
    }
    return failure(copy::Strings::aiErrClaude(complaint(envelope, output)));
}

} // namespace

std::vector<std::string> claudeArguments(const std::string& schema) {
    return {"-p",   "--safe-mode",   "--tools", "", "--max-turns", "1", "--no-session-persistence", "--output-format",
            "json", "--json-schema", schema};
}

std::expected<base::Json, AIFailure> askClaude(const QString& prompt, const std::vector<std::string>& arguments,
                                               const StepContext& context) {
    const WorkFolder work(context.workRoot, "claude_");
    const auto output = context.runner.run({.executable = context.tools.claude,
                                            .arguments = arguments,
                                            .standardInput = prompt.toUtf8(),
                                            .directory = work.path(),
                                            .timeout = claudeTimeout});
    if (!output) {
        return failure(copy::Strings::aiErrClaude(output.error().text));
    }
    if (output->cancelled) {
        return failure(copy::Strings::aiErrCancelled);
    }
    if (output->timedOut) {
        return failure(copy::Strings::aiErrTimeout);
    }
    return replyOf(*output);
}

std::expected<base::Json, AIFailure> parseReply(QByteArrayView standardOutput) {
    const auto envelope = objectFrom(standardOutput);
    if (!envelope) {
        return unreadable();
    }
    if (const auto* reply = structuredOutput(*envelope)) {
        return *reply;
    }
    if (boolAt(*envelope, u"is_error") == true) {
        const auto subtype = stringAt(*envelope, u"subtype").value_or(u"?"_s);
        return failure(copy::Strings::aiErrClaude(nonEmptyString(*envelope, u"result").value_or(subtype)));
    }
    const auto result = stringAt(*envelope, u"result");
    if (!result) {
        return unreadable();
    }
    auto reply = objectFrom(withoutFences(base::Text::trimmed(*result)).toUtf8());
    if (!reply) {
        return unreadable();
    }
    return std::move(*reply);
}

} // namespace ai::AIPipeline
