#include "io/list_input.h"

#include <algorithm>
#include <cctype>

#include "io/fixed_fields.h"

namespace tn {

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t'; }
bool ends_token(char c) { return is_blank(c) || c == ',' || c == '/'; }

}  // namespace

bool ListReader::fetch_record() {
    std::string_view r;
    if (src_.next_record(r) != IoStatus::Ok) return false;
    rec_ = r;
    p_ = 0;
    have_record_ = true;
    return true;
}

// After a value: blanks, then at most one comma and the blanks behind it, within the record.
void ListReader::eat_separator() {
    while (p_ < rec_.size() && is_blank(rec_[p_])) ++p_;
    if (p_ < rec_.size() && rec_[p_] == ',') {
        ++p_;
        while (p_ < rec_.size() && is_blank(rec_[p_])) ++p_;
        sep_ = Sep::AfterComma;
    } else {
        sep_ = Sep::AfterValue;
    }
}

bool ListReader::read_quoted(std::string& out) {
    const char q = rec_[p_++];
    out.clear();
    for (;;) {
        if (p_ >= rec_.size()) {
            if (!fetch_record()) return false;   // a quoted text goes on into the next record
            continue;
        }
        const char c = rec_[p_++];
        if (c == q) {
            if (p_ < rec_.size() && rec_[p_] == q) {   // doubled quote
                out.push_back(q);
                ++p_;
                continue;
            }
            return true;
        }
        out.push_back(c);
    }
}

ListReader::Value ListReader::next_value() {
    if (repeat_left_ > 0) {
        --repeat_left_;
        return repeat_value_;
    }
    if (!have_record_ && !fetch_record()) return {Kind::End, {}};
    for (;;) {
        while (p_ < rec_.size() && is_blank(rec_[p_])) ++p_;
        if (p_ >= rec_.size()) {
            if (!fetch_record()) return {Kind::End, {}};
            continue;
        }
        const char c = rec_[p_];
        if (c == '/') {
            terminated_ = true;
            return {Kind::Slash, {}};
        }
        if (c == ',') {
            ++p_;
            if (sep_ == Sep::AfterValue) {   // the comma completes the separator begun by blanks
                sep_ = Sep::AfterComma;
                continue;
            }
            while (p_ < rec_.size() && is_blank(rec_[p_])) ++p_;
            sep_ = Sep::AfterComma;
            return {Kind::Null, {}};
        }
        break;
    }

    Value v;
    if (rec_[p_] == '\'' || rec_[p_] == '"') {
        if (!read_quoted(v.text)) return {Kind::End, {}};
        v.kind = Kind::Quoted;
        eat_separator();
        return v;
    }
    const std::size_t start = p_;
    while (p_ < rec_.size() && !ends_token(rec_[p_]) && rec_[p_] != '*') ++p_;
    if (p_ < rec_.size() && rec_[p_] == '*') {
        // r*value or r*: a repeat count when all in front of the star are digits
        const std::string_view count = rec_.substr(start, p_ - start);
        bool digits = !count.empty();
        for (char ch : count) digits = digits && std::isdigit(static_cast<unsigned char>(ch));
        long r = 0;
        if (digits) {
            for (char ch : count) r = r < 100000000 ? r * 10 + (ch - '0') : r;
        }
        if (digits && r > 0) {
            ++p_;   // the star
            Value rep;
            if (p_ >= rec_.size() || ends_token(rec_[p_])) {
                rep.kind = Kind::Null;
            } else if (rec_[p_] == '\'' || rec_[p_] == '"') {
                if (!read_quoted(rep.text)) return {Kind::End, {}};
                rep.kind = Kind::Quoted;
            } else {
                const std::size_t s2 = p_;
                while (p_ < rec_.size() && !ends_token(rec_[p_])) ++p_;
                rep.kind = Kind::Value;
                rep.text = std::string(rec_.substr(s2, p_ - s2));
            }
            eat_separator();
            repeat_value_ = rep;
            repeat_left_ = r - 1;
            return rep;
        }
        // a star that is no repeat count belongs to the value
        while (p_ < rec_.size() && !ends_token(rec_[p_])) ++p_;
    }
    v.kind = Kind::Value;
    v.text = std::string(rec_.substr(start, p_ - start));
    eat_separator();
    return v;
}

IoStatus ListReader::set_error(std::string_view expected, const Value& v) {
    status_ = IoStatus::Error;
    problem_ = "item " + std::to_string(item_) + ": expected " + std::string(expected) + ", found ";
    problem_ += v.kind == Kind::Quoted ? "the quoted text \"" + v.text + "\"" : "'" + v.text + "'";
    return status_;
}

// Common front of every item: the sticky status, the slash, the end of the file.
IoStatus ListReader::take(Value& v, std::string_view expected) {
    if (status_ != IoStatus::Ok) return status_;
    ++item_;
    if (terminated_) {
        v.kind = Kind::Null;
        return IoStatus::Ok;
    }
    v = next_value();
    if (v.kind == Kind::Slash) {
        v.kind = Kind::Null;
        return IoStatus::Ok;
    }
    if (v.kind == Kind::End) {
        status_ = IoStatus::End;
        problem_ = "item " + std::to_string(item_) + ": end of file, expected " + std::string(expected);
    }
    return status_;
}

IoStatus ListReader::read(int& out) {
    Value v;
    if (take(v, "an integer") != IoStatus::Ok || v.kind == Kind::Null) return status_;
    int x = 0;
    if (v.kind == Kind::Quoted || !parse_int_field(v.text, x)) return set_error("an integer", v);
    out = x;
    return status_;
}

IoStatus ListReader::read(float& out) {
    Value v;
    if (take(v, "a real number") != IoStatus::Ok || v.kind == Kind::Null) return status_;
    float x = 0.0f;
    if (v.kind == Kind::Quoted || !parse_real_field(v.text, 0, x)) return set_error("a real number", v);
    out = x;
    return status_;
}

IoStatus ListReader::read(double& out) {
    Value v;
    if (take(v, "a real number") != IoStatus::Ok || v.kind == Kind::Null) return status_;
    double x = 0.0;
    if (v.kind == Kind::Quoted || !parse_real_field(v.text, 0, x)) return set_error("a real number", v);
    out = x;
    return status_;
}

IoStatus ListReader::skip_reals(long long n) {
    float dropped = 0.0f;
    while (n > 0 && status_ == IoStatus::Ok) {
        if (terminated_) {   // nulls to the end of the read
            item_ += n;
            return status_;
        }
        const bool repeating = repeat_left_ > 0;
        read(dropped);
        --n;
        if (repeating && status_ == IoStatus::Ok) {   // one copy read and checked: the same for the rest
            const long long take = std::min<long long>(n, repeat_left_);
            repeat_left_ -= take;
            item_ += take;
            n -= take;
        }
    }
    return status_;
}

IoStatus ListReader::read_text(std::string& s, bool& null) {
    Value v;
    null = false;
    if (take(v, "a text") != IoStatus::Ok) return status_;
    if (v.kind == Kind::Null) {
        null = true;
        return status_;
    }
    s = v.text;
    return status_;
}

IoStatus ListReader::read(std::string& out) {
    std::string s;
    bool null = false;
    if (read_text(s, null) == IoStatus::Ok && !null) out = s;
    return status_;
}

void ListReader::fail(std::string_view what) const {
    std::string msg = problem_.empty() ? std::string("read failed") : problem_;
    msg += " (" + std::string(what) + ")";
    throw file_error(src_.name(), src_.record_number(), msg);
}

}  // namespace tn
