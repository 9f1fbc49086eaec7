// Free-format (list-directed) reads.
//
// One ListReader is one read statement. It starts at the next record of its source and takes values
// in order:
//   - values are separated by blanks, by a comma with or without blanks around it, or by the end of a
//     record; a read that runs out of values on a record goes on with the next record;
//   - two commas with nothing between them, or a comma first, give a null value: the item keeps what
//     it held;
//   - r*value stands for r copies of the value, r* for r null values;
//   - texts may be quoted with ' or " (a doubled quote stands for one quote; a quoted text may go on
//     into the next record); an unquoted text ends at a blank, a comma, a slash or the record's end;
//   - a slash ends the read: the items behind it keep what they held;
//   - when the read is done, the rest of its last record is dropped: the next read starts at the
//     next record.
// A value that is not of the item's kind stops the read with IoStatus::Error; running out of records
// stops it with IoStatus::End. Items read before the failure keep their new values.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "io/errors.h"
#include "io/fixed_text.h"
#include "io/text_file.h"

namespace tn {

class ListReader {
public:
    explicit ListReader(RecordSource& src) : src_(src) {}

    IoStatus read(int& v);
    IoStatus read(float& v);
    IoStatus read(double& v);
    IoStatus read(std::string& v);
    template <std::size_t N>
    IoStatus read(FixedText<N>& v) {
        std::string s;
        bool null = false;
        const IoStatus st = read_text(s, null);
        if (st == IoStatus::Ok && !null) v = s;
        return st;
    }

    // Reads n real numbers and drops them: the same as n reads of a float, but a repeat count
    // ("100000000*1") and the null items behind a slash are passed over at once, so that the time
    // taken follows the length of the text, not the count.
    IoStatus skip_reals(long long n);

    IoStatus status() const { return status_; }
    long long items_read() const { return item_; }
    // What went wrong, for messages: "item 3: expected a real number, found 'abc'".
    const std::string& problem() const { return problem_; }
    // Ends the run with a message naming the file, the line and `what` the read was for.
    [[noreturn]] void fail(std::string_view what) const;

private:
    enum class Kind { Value, Quoted, Null, Slash, End };
    struct Value {
        Kind kind = Kind::End;
        std::string text;
    };

    Value next_value();
    bool fetch_record();
    void eat_separator();
    bool read_quoted(std::string& out);
    IoStatus read_text(std::string& s, bool& null);
    IoStatus take(Value& v, std::string_view expected);
    IoStatus set_error(std::string_view expected, const Value& v);

    enum class Sep { Start, AfterValue, AfterComma };

    RecordSource& src_;
    std::string_view rec_;
    std::size_t p_ = 0;
    bool have_record_ = false;
    Sep sep_ = Sep::Start;
    long repeat_left_ = 0;
    Value repeat_value_;
    bool terminated_ = false;   // a slash was met
    IoStatus status_ = IoStatus::Ok;
    long long item_ = 0;   // a count of repeated values may pass any int
    std::string problem_;
};

// One read statement over the given items, reporting its status.
template <class... T>
IoStatus list_read(RecordSource& src, T&... items) {
    ListReader r(src);
    IoStatus st = IoStatus::Ok;
    ((st = (st == IoStatus::Ok ? r.read(items) : st)), ...);
    return st;
}

// One read statement that ends the run on failure, with `what` naming the values expected.
template <class... T>
void list_read_or_fail(RecordSource& src, std::string_view what, T&... items) {
    ListReader r(src);
    IoStatus st = IoStatus::Ok;
    ((st = (st == IoStatus::Ok ? r.read(items) : st)), ...);
    if (st != IoStatus::Ok) r.fail(what);
}

}  // namespace tn
