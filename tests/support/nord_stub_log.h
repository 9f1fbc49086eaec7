// Reads back what the Nord2000 stand-in (nord2000_stub.cpp) recorded of its calls.
#pragma once

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace tntest {

// One call: argument number -> its values as recorded ("null" and "set" are kept as words).
struct StubCall {
    std::map<int, std::vector<std::string>> words;

    const std::vector<std::string>& raw(int arg) const { return words.at(arg); }
    std::vector<double> v(int arg) const {
        std::vector<double> out;
        for (const std::string& w : words.at(arg)) out.push_back(std::stod(w));
        return out;
    }
    double d(int arg) const { return std::stod(words.at(arg).at(0)); }
    bool null(int arg) const { return words.at(arg).size() == 1 && words.at(arg)[0] == "null"; }
};

// All calls recorded in the log file, in order; an absent file gives none.
inline std::vector<StubCall> read_stub_log(const std::string& path) {
    std::vector<StubCall> calls;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        if (line == "call") {
            calls.emplace_back();
            continue;
        }
        if (line == "end" || line.empty() || line[0] != 'a' || calls.empty()) continue;
        std::istringstream s(line.substr(1));
        int arg = 0;
        s >> arg;
        std::vector<std::string>& w = calls.back().words[arg];
        std::string t;
        while (s >> t) w.push_back(t);
    }
    return calls;
}

}  // namespace tntest
