// practice_numbers FOLDER: prints what a practice take is measured with, as one line of JSON in the form that stands
// under "stats" in coach.json. It needs transcript.json and the sound, and no other tool: so the numbers can be had
// where nobody writes advice. Exit status 1: there is no transcript. 2: the command line is wrong.
#include "ai/MeetingContent.h"
#include "base/Json.h"
#include "practice/CoachStep.h"
#include "store/MeetingLibrary.h"

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("practice_numbers FOLDER\n", stderr);
        return 2;
    }
    const auto record = store::MeetingLibrary::record(argv[1]);
    const auto state = ai::MeetingContent::transcript(record);
    if (state.value() == nullptr || state.value()->segments.empty()) {
        std::fputs("practice_numbers: there is no transcript\n", stderr);
        return 1;
    }
    const auto stats =
        practice::AIPipeline::practiceStats(record, *state.value(), practice::AIPipeline::WithPitch::Yes);
    std::puts(base::writeCompactJson(stats.json(QTimeZone::systemTimeZone())).constData());
    return 0;
}
