#pragma once

#include "engine_test_support.h"
#include "platform/timer_source.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <string>

namespace halvoren {

// Real child processes on real time: these tests use the Qt event loop's timers, and write
// small shell scripts that stand in for the programs under control.
class ProcessTest : public ::testing::Test {
protected:
    int argc = 0;
    QCoreApplication app{argc, nullptr};
    QTemporaryDir dir;
    QtTimerSource timers;

    QString script(const QString& name, const std::string& body) {
        const QString path = dir.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(("#!/bin/sh\n" + body + "\n").c_str());
        file.close();
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }
    std::string read(const QString& name) {
        QFile file(dir.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
    }
    template <class T>
    T run(QCoro::Task<T>&& task) {
        auto call = begin(std::move(task));
        EXPECT_TRUE(pumpUntil([&] { return call->done(); }, 15000));
        return call->value.value_or(T{});
    }
};

} // namespace halvoren
