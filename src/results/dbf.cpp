#include "results/dbf.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "io/clock.h"
#include "io/errors.h"
#include "io/format.h"
#include "results/writer.h"

namespace tn {

namespace {

constexpr std::uint16_t kHeaderLength = 1217;   // 32 + 37 descriptors of 32 + the 0x0D
constexpr std::uint16_t kRecordLength = 221;    // delete flag + 10 + 64 + 10 + 34 * 4
constexpr char kDeleteFlag = ' ';
constexpr char kEndOfFile = '\x1a';

struct FieldDesc {
    const char* name;
    char type;
    std::uint8_t length;
    std::uint8_t decimals;
};

// Deliberate: no 630 Hz and no 6300 Hz names, names up to 20000 Hz, and "1H_Z250" and "2H_Z500"
// spelled so. The columns hold the 32 bands from 10 Hz to 12500 Hz whatever their names say.
constexpr std::array<FieldDesc, 37> kFields = {{
    {"DATA_POINT", 'N', 10, 0}, {"SITE_ID", 'C', 64, 0}, {"TIME", 'N', 10, 3},
    {"FLAT", 'N', 4, 0},        {"A_WEIGHT", 'N', 4, 0},
    {"HZ_10", 'N', 4, 0},       {"HZ_12.5", 'N', 4, 0},  {"HZ_16", 'N', 4, 0},    {"HZ_20", 'N', 4, 0},
    {"HZ_25", 'N', 4, 0},       {"HZ_31.5", 'N', 4, 0},  {"HZ_40", 'N', 4, 0},    {"HZ_50", 'N', 4, 0},
    {"HZ_63", 'N', 4, 0},       {"HZ_80", 'N', 4, 0},    {"HZ_100", 'N', 4, 0},   {"HZ_125", 'N', 4, 0},
    {"HZ_160", 'N', 4, 0},      {"HZ_200", 'N', 4, 0},   {"HZ_250", 'N', 4, 0},   {"HZ_315", 'N', 4, 0},
    {"HZ_400", 'N', 4, 0},      {"HZ_500", 'N', 4, 0},   {"HZ_800", 'N', 4, 0},   {"HZ_1000", 'N', 4, 0},
    {"1H_Z250", 'N', 4, 0},     {"HZ_1600", 'N', 4, 0},  {"HZ_2000", 'N', 4, 0},  {"2H_Z500", 'N', 4, 0},
    {"HZ_3150", 'N', 4, 0},     {"HZ_4000", 'N', 4, 0},  {"HZ_5000", 'N', 4, 0},  {"HZ_8000", 'N', 4, 0},
    {"HZ_10000", 'N', 4, 0},    {"HZ_12500", 'N', 4, 0}, {"HZ_16000", 'N', 4, 0}, {"HZ_20000", 'N', 4, 0},
}};

void put_u16(std::string& out, std::size_t at, std::uint16_t v) {
    out[at] = static_cast<char>(v & 0xffu);
    out[at + 1] = static_cast<char>(v >> 8);
}

void put_i32(std::string& out, std::size_t at, std::int32_t v) {
    const auto u = static_cast<std::uint32_t>(v);
    for (int k = 0; k < 4; ++k) out[at + static_cast<std::size_t>(k)] = static_cast<char>((u >> (8 * k)) & 0xffu);
}

// A text padded with blanks, or cut, to exactly w characters.
std::string padded(std::string s, std::size_t w) {
    s.resize(w, ' ');
    return s;
}

std::string_view trim_right(std::string_view s) {
    while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
    return s;
}

}  // namespace

std::string dbt_name(std::string_view Outname) {
    Outname = trim_right(Outname);
    const std::size_t dot = Outname.find('.');
    const std::size_t keep = dot == std::string_view::npos ? 0 : dot + 1;
    return std::string(Outname.substr(0, keep)) + "dbt";
}

void DBFOPEN(int Nrec, const std::string& Outname, DbfFiles& files) {
    files.dbf.open(Outname);
    files.dbt.open(dbt_name(Outname));

    const CivilDate date = today();
    std::string head(32, '\0');
    head[0] = '\x83';   // dBase III with a memo file
    head[1] = static_cast<char>((date.year + 48) & 0xff);
    head[2] = static_cast<char>(date.month);
    head[3] = static_cast<char>(date.day);
    put_i32(head, 4, Nrec);
    put_u16(head, 8, kHeaderLength);
    put_u16(head, 10, kRecordLength);
    for (const FieldDesc& f : kFields) {
        std::string d(32, '\0');
        d.replace(0, 10, padded(f.name, 10));
        d[11] = f.type;
        d[16] = static_cast<char>(f.length);
        d[17] = static_cast<char>(f.decimals);
        d[20] = '\x01';
        head += d;
    }
    head += '\x0d';
    head += kDeleteFlag;   // the first record's
    files.dbf.write(head);

    std::string memo(512, '\0');
    put_i32(memo, 0, 1);
    memo[16] = '\x03';
    files.dbt.write(memo);
}

void SITEMEMO(const ReceiverHead& head, const std::string& Outname, int Npts, DbfFiles& files) {
    std::string block;
    block.reserve(523);
    block += padded("Filename: " + Outname + " ", 64);
    block += '\x0d';

    std::string name(head.Name.trimmed());
    name.insert(0, 64 - name.size(), ' ');   // right-justified in 64
    block += padded(" Site: " + name + " ", 75);
    block += '\x0d';

    std::string line = "  Number of trajectory points:";   // right-justified in 30
    append_i(line, Npts, 4);
    block += padded(line, 64);
    block += '\x0d';

    line = " Lat: ";
    append_f(line, head.lat, 11, 6);
    line += "    Long: ";
    append_f(line, head.lon, 12, 6);
    block += padded(line, 64);
    block += '\x0d';

    line = " UTM Zone: ";
    append_i(line, head.Utmzone, 3);
    line += "    Easting: ";
    append_f(line, head.x, 8, 0);
    line += "    Northing: ";
    append_f(line, head.y, 8, 0);
    block += padded(line, 64);
    block += '\x0d';

    block.append(187, '\0');
    files.dbt.write(block);
}

void append_dbf_record(std::string& records, int Siteidx, const SiteName& Name, float Time,
                       std::span<const int, kRowColumns> Outrow) {
    append_i(records, Siteidx, 10);
    records += Name.padded();
    append_f(records, Time, 10, 3);
    for (const int v : Outrow) append_i(records, v, 4);
    records += kDeleteFlag;   // the next record's
}

void DBFCLOSE(DbfFiles& files) {
    files.dbt.write("\x1a\x1a");
    files.dbf.write(std::string_view(&kEndOfFile, 1));
    OutFile::commit_together(files.dbf, files.dbt);
}

namespace {

// A receiver's memo block goes to the .dbt and its records to the .dbf, each in one write.
class DbfWriter final : public ResultWriter {
public:
    explicit DbfWriter(bool records) : records_(records) {}

    void open(const RunHeader& run) override {
        // A block whose span is negative in one direction holds no receiver: a table of no
        // records, not one that declares a negative number of them.
        const long long nrec = static_cast<long long>(run.Npts) * std::max(run.Nrecv, 0L);
        if (nrec > 2147483647LL) {
            throw file_error(run.Runout, 0,
                             "the table would hold " + std::to_string(nrec) + " records; a .dbf holds at most 2147483647");
        }
        name_ = run.Runout;
        Npts_ = run.Npts;
        DBFOPEN(static_cast<int>(nrec), name_, files_);
    }
    void receiver(const ReceiverHistory& h) override {
        SITEMEMO(h.head, name_, Npts_, files_);
        if (!records_ || !h.computed) return;
        buffer_.clear();
        for (const HistoryPoint& p : h.points) append_dbf_record(buffer_, h.head.Siteidx, h.head.Name, p.t, p.Outrow);
        files_.dbf.write(buffer_);
    }
    void finish() override { DBFCLOSE(files_); }

private:
    bool records_;
    std::string name_;
    int Npts_ = 0;
    DbfFiles files_;
    std::string buffer_;
};

}  // namespace

std::unique_ptr<ResultWriter> make_dbf_writer(bool records) { return std::make_unique<DbfWriter>(records); }

}  // namespace tn
