#pragma once
// One QApplication for the whole test program, on the offscreen platform, made before the first
// test: widgets, fonts and images all need it.

#include <gtest/gtest.h>

#include <QApplication>

namespace lumenary::testing {

class OffscreenApplication : public ::testing::Environment {
public:
    void SetUp() override {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        app_ = new QApplication(argc_, argv_);
    }
    void TearDown() override {
        delete app_;
        app_ = nullptr;
    }

private:
    int argc_ = 1;
    char name_[5] = "test";
    char* argv_[2] = {name_, nullptr};
    QApplication* app_ = nullptr;
};

inline ::testing::Environment* const offscreenApplication =
    ::testing::AddGlobalTestEnvironment(new OffscreenApplication);

}  // namespace lumenary::testing
