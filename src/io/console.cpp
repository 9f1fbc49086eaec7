#include "io/console.h"

namespace tn {

void Console::line(std::string_view text) {
    end_progress();
    out_ << text << '\n';
    out_.flush();
}

void Console::list_line(std::string_view text) {
    end_progress();
    out_ << ' ' << text << '\n';
    out_.flush();
}

void Console::progress(std::string_view record) {
    const char control = record.empty() ? ' ' : record.front();
    const std::string_view text = record.empty() ? record : record.substr(1);
    if (control == '+' && open_) {
        out_ << '\r' << text;
        if (text.size() < width_) {
            for (std::size_t k = text.size(); k < width_; ++k) out_ << ' ';
        }
    } else {
        if (open_) out_ << '\n';
        out_ << text;
    }
    open_ = true;
    width_ = text.size();
    out_.flush();
}

void Console::end_progress() {
    if (open_) {
        out_ << '\n';
        out_.flush();
    }
    open_ = false;
    width_ = 0;
}

}  // namespace tn
