// Screens that show what the test paints, fail when it says so, and answer when it lets them.
#pragma once

#include "capture/ScreenSource.h"

#include <deque>
#include <utility>

namespace fakes {

class FakeScreenSource final : public capture::ScreenSource {
public:
    struct PictureRequest {
        capture::Display display;
        int width = 0;
        int height = 0;
        PictureReply reply;
    };

    std::expected<capture::ScreenContent, QString> nextContent;
    std::expected<QImage, QString> nextPicture = QImage(64, 40, QImage::Format_RGB32);
    bool holdContent = false;  ///< replies wait for answerContent()
    bool holdPictures = false; ///< replies wait in `waitingPictures`

    int contentRequests = 0;
    std::vector<PictureRequest> pictureRequests; ///< every one, without its reply
    std::deque<ContentReply> waitingContent;
    std::deque<PictureRequest> waitingPictures;

    void content(ContentReply reply) override {
        ++contentRequests;
        if (holdContent) {
            waitingContent.push_back(std::move(reply));
        } else {
            reply(nextContent);
        }
    }

    void picture(const capture::Display& display, int width, int height, PictureReply reply) override {
        pictureRequests.push_back({display, width, height, {}});
        if (holdPictures) {
            waitingPictures.push_back({display, width, height, std::move(reply)});
        } else {
            reply(nextPicture);
        }
    }

    /// Answers the oldest waiting request with what is next now.
    void answerContent() { take(waitingContent)(nextContent); }

    void answerPicture() { take(waitingPictures).reply(nextPicture); }

private:
    template<typename Request>
    static Request take(std::deque<Request>& waiting) {
        Request first = std::move(waiting.front());
        waiting.pop_front();
        return first;
    }
};

} // namespace fakes
