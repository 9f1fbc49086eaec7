#include "results/timehist.h"

#include "io/files.h"
#include "io/format.h"

namespace tn {

void append_file_header(std::string& out, const RunHeader& run) {
    const auto line = [&out](std::string_view text) {
        out += text;
        out += '\n';
    };
    line("Filename: " + run.Runout);
    line(run.Terrfile);
    line(run.Gndfile);
    line(run.Sitefile);
    line(run.Infofile);
    line(run.Ambfile);
    if (run.grid) {
        const GridBlock& b = run.block;
        line("ii: " + fmt_i(b.Iifirst, 4) + "  " + fmt_i(b.Iilast, 4) + "  " + fmt_i(b.Iicount, 4));
        line("jj: " + fmt_i(b.Jjfirst, 4) + "  " + fmt_i(b.Jjlast, 4) + "  " + fmt_i(b.Jjcount, 4));
    }
    line(run.Trackfile);
    line(run.Srcfile);
    line(kEndOfFileHeader);
}

void append_section_header(std::string& out, const ReceiverHead& head, int Npts) {
    out += "Site: ";
    out += head.Name.padded();
    out += '\n';

    out += "Integ:                   Spec:";
    append_i(out, Npts, 4);
    out += '\n';

    out += "Lat: ";
    append_f(out, head.lat, 12, 7);
    out += "    Long: ";
    append_f(out, head.lon, 12, 7);
    out += "          User X: ";
    append_f(out, head.user_x, 12, 0);
    out += "    User Y: ";
    append_f(out, head.user_y, 12, 0);
    out += '\n';

    out += "UTM Zone: ";
    append_i(out, head.Utmzone, 3);
    out += "    Easting: ";
    append_f(out, head.x, 8, 0);
    out += "    Northing: ";
    append_f(out, head.y, 8, 0);
    out += '\n';

    append_i(out, head.date.day, 2);
    out += ' ';
    out += month_abbrev(head.date.month);
    out += ' ';
    append_i(out, head.date.year, 4);
    out += '\n';

    out += "Echo\n";
    out += kRuler;
    out += '\n';
    out += kRule;
    out += '\n';

    append_i(out, 0, 4);
    out += " AMBIENT    ";
    for (int c = 0; c < kRowColumns; ++c) {
        out += ' ';
        append_i(out, head.Ambrow[c], 4);
    }
    out += '\n';
}

void append_data_line(std::string& out, int n, float t, const int Outrow[kRowColumns], int M) {
    append_i(out, n, 4);
    append_f(out, t, 12, 3);
    // The 35 integer columns, each a blank and four characters, then the blank behind the metric:
    // the line is 192 characters. Put into the line grown once.
    const std::size_t at = out.size();
    out.resize(at + 5 * (kRowColumns + 1) + 2);
    char* p = &out[at];
    for (int c = 0; c < kRowColumns; ++c) {
        *p++ = ' ';
        p = put_i(p, Outrow[c], 4);
    }
    *p++ = ' ';
    p = put_i(p, M, 4);
    *p++ = ' ';
    *p = '\n';
}

void append_section(std::string& out, const ReceiverHistory& h, bool lines) {
    append_section_header(out, h.head, static_cast<int>(h.points.size()));
    if (!lines) return;
    int n = 0;
    for (const HistoryPoint& p : h.points) append_data_line(out, ++n, p.t, p.Outrow, p.M);
    out += kEndOfSection;
    out += '\n';
}

namespace {

// The whole section of a receiver goes to the file in one write, after the receiver is computed.
class TimeHistoryWriter final : public ResultWriter {
public:
    TimeHistoryWriter(bool sections, bool lines) : sections_(sections), lines_(lines) {}

    void open(const RunHeader& run) override {
        file_.open(run.Runout);
        std::string head;
        append_file_header(head, run);
        file_.write(head);
    }
    void receiver(const ReceiverHistory& h) override {
        if (!sections_ || !h.computed) return;
        buffer_.clear();
        append_section(buffer_, h, lines_);
        file_.write(buffer_);
    }
    void finish() override { file_.commit(); }

private:
    bool sections_;
    bool lines_;
    OutFile file_;
    std::string buffer_;
};

}  // namespace

std::unique_ptr<ResultWriter> make_time_history_writer(bool sections, bool lines) {
    return std::make_unique<TimeHistoryWriter>(sections, lines);
}

}  // namespace tn
