#include "adapter/EngineOutput.h"

#include "base/Json.h"
#include "base/Text.h"

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::StringLiterals;

namespace adapter::EngineOutput {
namespace {

constexpr double millisecondsPerSecond = 1000.0;

QByteArray repaired(QByteArrayView bytes) {
    return QString::fromUtf8(bytes).toUtf8();
}

/// The words for numbers that JSON does not have, outside of texts, become null.
QByteArray withoutNonNumbers(const QByteArray& json) {
    static constexpr std::array<QByteArrayView, 3> words{"-Infinity", "Infinity", "NaN"};
    QByteArray result;
    result.reserve(json.size());
    bool inText = false;
    for (qsizetype at = 0; at < json.size();) {
        const auto rest = QByteArrayView(json).sliced(at);
        const auto word = std::ranges::find_if(words, [&](QByteArrayView each) { return rest.startsWith(each); });
        if (!inText && word != words.end()) {
            result += "null";
            at += word->size();
            continue;
        }
        const bool escaped = inText && rest.front() == '\\' && rest.size() > 1;
        inText = rest.front() == '"' ? !inText : inText;
        result += rest.first(escaped ? 2 : 1);
        at += escaped ? 2 : 1;
    }
    return result;
}

double secondsAt(const base::Json& offsets, QStringView key) {
    const auto* value = offsets.find(key);
    return value != nullptr ? value->toDouble().value_or(0.0) / millisecondsPerSecond : 0.0;
}

/// "[BLANK_AUDIO]", "(music)": what is heard, not what is said.
bool isRemark(const QString& text) {
    const QString trimmed = base::Text::trimmed(text);
    return (trimmed.startsWith(u'[') && trimmed.endsWith(u']')) || (trimmed.startsWith(u'(') && trimmed.endsWith(u')'));
}

std::optional<ai::WhisperSegment> cppSegment(const base::Json& element) {
    const auto* text = element.find(u"text");
    const auto* offsets = element.find(u"offsets");
    if (text == nullptr || offsets == nullptr || !text->isString() || isRemark(*text->toString())) {
        return std::nullopt;
    }
    const double start = secondsAt(*offsets, u"from");
    return ai::WhisperSegment{start, std::max(start, secondsAt(*offsets, u"to")), *text->toString(), 0.0};
}

struct Word {
    QString text;
    double start = 0;
    double end = 0;
};

/// nullopt: no line about a word. Silence and noise stand in angle or square brackets.
std::optional<Word> wordFrom(const QByteArray& line) {
    const auto fields = line.simplified().split(' ');
    if (fields.size() != 4 || fields.front().startsWith('<') || fields.front().startsWith('[')) {
        return std::nullopt;
    }
    bool isStart = false;
    bool isEnd = false;
    bool isProbability = false;
    Word word{QString::fromUtf8(fields[0]), fields[1].toDouble(&isStart), fields[2].toDouble(&isEnd)};
    static_cast<void>(fields[3].toDouble(&isProbability));
    if (!isStart || !isEnd || !isProbability || !std::isfinite(word.start) || !std::isfinite(word.end)) {
        return std::nullopt;
    }
    word.end = std::max(word.start, word.end);
    // "read(2)" is "read" in its second pronunciation.
    if (const auto bracket = word.text.indexOf(u'('); bracket > 0) {
        word.text.truncate(bracket);
    }
    return word;
}

} // namespace

std::optional<ai::WhisperOutput> fromWhisper(QByteArrayView bytes) {
    return ai::WhisperOutput::parse(withoutNonNumbers(repaired(bytes)));
}

std::optional<ai::WhisperOutput> fromWhisperCpp(QByteArrayView bytes) {
    if (bytes.size() > ai::WhisperOutput::sizeLimit) {
        return std::nullopt;
    }
    const auto root = base::parseJson(withoutNonNumbers(repaired(bytes)));
    const auto* list = root ? root->find(u"transcription") : nullptr;
    if (list == nullptr || !list->isArray()) {
        return std::nullopt;
    }
    ai::WhisperOutput output;
    if (const auto* result = root->find(u"result")) {
        const auto* language = result->find(u"language");
        output.language = language != nullptr ? language->toString() : std::nullopt;
    }
    for (const auto& element : *list->toArray()) {
        if (auto segment = cppSegment(element)) {
            output.segments.push_back(std::move(*segment));
        }
    }
    return output;
}

ai::WhisperOutput fromSphinx(QByteArrayView bytes) {
    ai::WhisperOutput output{.language = u"en"_s, .segments = {}};
    bool begins = true;
    for (const auto& line : bytes.toByteArray().split('\n')) {
        begins = begins || line.startsWith("<s> ");
        const auto word = wordFrom(line);
        if (!word) {
            continue;
        }
        auto& segments = output.segments;
        if (begins || word->start - segments.back().end >= wordGap ||
            word->end - segments.back().start > longestSegment) {
            segments.push_back({word->start, word->end, u' ' + word->text, 0.0});
        } else {
            segments.back().end = std::max(segments.back().end, word->end);
            segments.back().text += u' ' + word->text;
        }
        begins = false;
    }
    return output;
}

} // namespace adapter::EngineOutput
