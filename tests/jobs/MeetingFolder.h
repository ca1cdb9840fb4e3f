// A test's own data root with meeting folders in it.
#pragma once

#include "base/Files.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

class MeetingFolders : public testing::Test {
protected:
    void SetUp() override {
        ::setenv("TARVEX_HOME", m_root.path().toUtf8().constData(), 1);
        std::filesystem::create_directories(meetings());
    }

    void TearDown() override { ::unsetenv("TARVEX_HOME"); }

    [[nodiscard]] std::filesystem::path meetings() const { return base::pathFrom(m_root.path()) / "Meetings"; }

    [[nodiscard]] std::filesystem::path meeting(const std::string& name = "2025_03_07_0900_a") const {
        const auto folder = meetings() / name;
        std::filesystem::create_directories(folder);
        return folder;
    }

    static void write(const std::filesystem::path& file, const QByteArray& bytes) {
        ASSERT_TRUE(base::replaceFile(file, bytes));
    }

    static QByteArray read(const std::filesystem::path& file) {
        return base::readFile(file).value_or(QByteArray("(missing)"));
    }

    static void makePractice(const std::filesystem::path& folder) {
        write(folder / "meta.json", R"({"start": "2025-03-07T09:00:00+08:00", "mode": "practice"})");
    }

    static void giveTranscript(const std::filesystem::path& folder) {
        write(folder / "transcript.json", R"({"segments": [{"text": "hi"}]})");
    }

private:
    QTemporaryDir m_root;
};
