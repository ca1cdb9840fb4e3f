#include "capture/CaptureSink.h"

#include "capture/CollectingSink.h"
#include "capture/Sound.h"
#include "fakes/ManualScheduler.h"

#include <gtest/gtest.h>

namespace capture {
namespace {

TEST(CaptureSink, ABlockIsDeliveredOnTheSinksQueueAndNotInTheCall) {
    fakes::ManualDispatch dispatch;
    const auto sink = std::make_shared<CollectingSink>(dispatch);
    const auto sound = plainSound(3);
    deliver(sink, sound.at(12.5));
    EXPECT_TRUE(sink->stamps.empty());
    dispatch.runDue();
    EXPECT_EQ(sink->stamps, std::vector{12.5});
    EXPECT_EQ(sink->samples, sound.bytes);
    EXPECT_EQ(sink->formats, std::vector{sound.format});
    EXPECT_TRUE(sink->onItsQueue);
}

TEST(CaptureSink, TheBlockIsCopiedSinceItsMemoryIsTheCallers) {
    fakes::ManualDispatch dispatch;
    const auto sink = std::make_shared<CollectingSink>(dispatch);
    auto sound = plainSound(3, 7);
    const auto before = sound.bytes;
    deliver(sink, sound.at(0));
    std::fill(sound.bytes.begin(), sound.bytes.end(), std::byte{0});
    dispatch.runDue();
    EXPECT_EQ(sink->samples, before);
}

TEST(CaptureSink, BlocksStayInTheirOrder) {
    fakes::ManualDispatch dispatch;
    const auto sink = std::make_shared<CollectingSink>(dispatch);
    const auto sound = plainSound(1);
    for (const double stamp : {3.0, 1.0, 2.0}) {
        deliver(sink, sound.at(stamp));
    }
    dispatch.runDue();
    EXPECT_EQ(sink->stamps, (std::vector{3.0, 1.0, 2.0}));
}

TEST(CaptureSink, ASinkThatHasGoneGetsNothing) {
    fakes::ManualDispatch dispatch;
    auto sink = std::make_shared<CollectingSink>(dispatch);
    const std::weak_ptr<CaptureSink> weak = sink;
    deliver(weak, plainSound(1).at(0));
    sink.reset();
    dispatch.runDue();
    deliver(weak, plainSound(1).at(0));
    dispatch.runDue();
    EXPECT_TRUE(weak.expired());
}

} // namespace
} // namespace capture
