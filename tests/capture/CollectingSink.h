// A sink that keeps what it gets, and on which queue it got it.
#pragma once

#include "base/Dispatch.h"
#include "capture/CaptureSink.h"

#include <vector>

namespace capture {

class CollectingSink final : public CaptureSink {
public:
    explicit CollectingSink(base::Dispatch& dispatch)
        : m_queue(dispatch.makeSerialQueue("com.orvane.tarvex.test", base::Priority::UserInitiated)) {}

    base::Scheduler& queue() override { return *m_queue; }

    void append(const AudioBlock& block) override {
        onItsQueue = onItsQueue && m_queue->isCurrent();
        stamps.push_back(block.stampSeconds);
        formats.push_back(block.format);
        samples.insert(samples.end(), block.data.begin(), block.data.end());
    }

    bool onItsQueue = true;
    std::vector<double> stamps;
    std::vector<AudioFormat> formats;
    std::vector<std::byte> samples;

private:
    std::shared_ptr<base::Scheduler> m_queue;
};

} // namespace capture
