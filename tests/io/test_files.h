// Test helpers of the readers' tests: a scratch folder of small files, and the message of a stop.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "io/errors.h"

namespace tntest {

// A fresh folder, removed with what it holds at the end of the test.
struct ScratchDir {
    std::filesystem::path path;
    ScratchDir() {
        std::string t = (std::filesystem::temp_directory_path() / "tn_test_XXXXXX").string();
        path = mkdtemp(t.data());
    }
    ~ScratchDir() { std::error_code ec; std::filesystem::remove_all(path, ec); }
    std::string operator/(const std::string& name) const { return (path / name).string(); }
    // A new file rather than a truncated one, so that no reader sees an old length.
    std::string file(const std::string& name, const std::string& bytes) const {
        std::filesystem::remove(path / name);
        std::ofstream(path / name, std::ios::binary) << bytes;
        return *this / name;
    }
};

// The message of the stop that `f` ends in, or "no error".
template <class F>
std::string error_of(F&& f) {
    try {
        f();
    } catch (const tn::RunError& e) {
        return e.what();
    }
    return "no error";
}

inline testing::AssertionResult holds(const std::string& text, const std::string& part) {
    if (text.find(part) != std::string::npos) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "'" << text << "' does not hold '" << part << "'";
}

}  // namespace tntest
