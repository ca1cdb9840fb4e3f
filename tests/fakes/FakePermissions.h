// Permissions whose answers a test sets; a question can be held open.
#pragma once

#include "ui/Permissions.h"

#include <utility>
#include <vector>

namespace fakes {

class FakePermissions final : public ui::Permissions {
public:
    bool microphone = true;
    bool screenCapture = true;
    bool screenCaptureAnswer = true;   ///< of the question
    bool holdMicrophoneAnswer = false; ///< answerMicrophone() gives it later
    int microphoneRequests = 0;
    int screenCaptureRequests = 0;
    std::vector<QString> opened;

    bool microphoneGranted() const override { return microphone; }

    bool screenCaptureGranted() const override { return screenCapture; }

    void requestMicrophone(std::function<void(bool granted)> answer) override {
        ++microphoneRequests;
        if (holdMicrophoneAnswer) {
            m_held.push_back(std::move(answer));
        } else {
            answer(microphone);
        }
    }

    bool requestScreenCapture() override {
        ++screenCaptureRequests;
        return screenCaptureAnswer;
    }

    void open(const QString& address) override { opened.push_back(address); }

    void answerMicrophone(bool granted) {
        for (auto& answer : std::exchange(m_held, {})) {
            answer(granted);
        }
    }

private:
    std::vector<std::function<void(bool)>> m_held;
};

} // namespace fakes
