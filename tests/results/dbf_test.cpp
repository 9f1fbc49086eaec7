// Result tables: the bytes of the header, the descriptors, a record and a memo block, built here
// from the written layout and not with the writer's code.
#include "results/dbf.h"

#include <cstdint>
#include <cstdlib>

#include "environment/gdal_tools.h"
#include "sample_run.h"

using namespace tn;
using namespace tntest;

namespace {

// Runs each test in a scratch folder with a fixed date, 2015-05-15 12:00 UTC.
struct Dbf : InScratch {
    Dbf() { setenv("SOURCE_DATE_EPOCH", "1431691200", 1); }
    ~Dbf() override { unsetenv("SOURCE_DATE_EPOCH"); }
};

std::string le32(std::uint32_t v) { return {char(v), char(v >> 8), char(v >> 16), char(v >> 24)}; }

// Header, descriptors, 0x0D and the first delete flag, byte by byte from the layout tables: header
// length 1217 (c1 04), record length 221 (dd 00); a descriptor is the name padded with blanks to
// ten, a zero, the type, four zeros, length, decimals, two zeros, 0x01 and eleven zeros.
std::string expected_head(std::uint32_t nrec, char year, char month, char day) {
    std::string h = {'\x83', year, month, day};
    h += le32(nrec) + std::string("\xc1\x04\xdd\x00", 4) + std::string(20, 0);
    auto field = [&h](std::string name, char type, char len, char dec) {
        name.resize(10, ' ');
        h += name + '\0' + type + std::string(4, 0) + len + dec + std::string(2, 0) + '\x01' + std::string(11, 0);
    };
    field("DATA_POINT", 'N', 10, 0);
    field("SITE_ID", 'C', 64, 0);
    field("TIME", 'N', 10, 3);
    for (const char* n : {"FLAT", "A_WEIGHT", "HZ_10", "HZ_12.5", "HZ_16", "HZ_20", "HZ_25", "HZ_31.5", "HZ_40", "HZ_50",
                          "HZ_63", "HZ_80", "HZ_100", "HZ_125", "HZ_160", "HZ_200", "HZ_250", "HZ_315", "HZ_400", "HZ_500",
                          "HZ_800", "HZ_1000", "1H_Z250", "HZ_1600", "HZ_2000", "2H_Z500", "HZ_3150", "HZ_4000", "HZ_5000",
                          "HZ_8000", "HZ_10000", "HZ_12500", "HZ_16000", "HZ_20000"})
        field(n, 'N', 4, 0);
    return h + "\x0d ";
}

const int kRow[34] = {652, 598, -999, -999, 12345, -1000, 0,   1,   -1,  10,  20,  30,  40,  50,  60,  70,  80,
                      90,  100, 110,  120,  130,   140,   150, 160, 170, 180, 190, 200, 210, 220, 230, 240, 250};

}  // namespace

// Empty run: header and end marks only. The year byte is (year + 48) modulo 256: 15 for 2015, 208
// for 2208, and 0 for 2256, where it wraps.
TEST_F(Dbf, HeaderDescriptorsAndEndMarksByteExact) {
    for (const auto& [epoch, year, month, day] :
         {std::tuple{"1431691200", '\x0f', 5, 15}, {"7510536000", '\xd0', 1, 1}, {"9025300800", '\x00', 1, 1}}) {
        setenv("SOURCE_DATE_EPOCH", epoch, 1);
        DbfFiles f;
        DBFOPEN(258, "run.dbf", f);
        DBFCLOSE(f);
        EXPECT_EQ(read_bytes("run.dbf"), expected_head(258, year, char(month), char(day)) + "\x1a") << epoch;
        EXPECT_EQ(read_bytes("run.dbt"), le32(1) + std::string(12, 0) + '\x03' + std::string(495, 0) + "\x1a\x1a");
    }
}

// A record: running number, name, time, 34 four-wide integers (asterisks when too wide), next flag.
// TIME is ten wide: a million seconds no longer fits.
TEST_F(Dbf, RecordByteExact) {
    const std::string want = "         7Airport_North" + std::string(51, ' ') + "  1234.568" +
                             " 652 598-999-999********   0   1  -1  10  20  30  40  50  60  70  80  90 100 110 120 130"
                             " 140 150 160 170 180 190 200 210 220 230 240 250 ";
    std::string records;
    append_dbf_record(records, 7, "Airport_North", 1234.5678f, kRow);
    EXPECT_EQ(records, want);
    append_dbf_record(records, 8, "x", 1000000.0f, kRow);
    EXPECT_EQ(records.substr(221 + 74, 10), "**********");
}

// The sample run: both receivers have memo blocks, only the computed one has records (its
// out-of-range point too), and the header counts points times receivers, six.
TEST_F(Dbf, WriterOnTheSampleRun) {
    const SampleRun run = sample_run("run.dbf");
    write_sample(*make_dbf_writer(true), run);
    const std::string dbf = read_bytes("run.dbf"), dbt = read_bytes("run.dbt");
    ASSERT_EQ(dbf.size(), 1218u + 3 * 221 + 1);
    EXPECT_EQ(dbf.substr(4, 4), le32(6));
    EXPECT_EQ(dbf.substr(1218 + 2 * 221, 74), "         2Airport_North" + std::string(51, ' '));
    EXPECT_EQ(dbf.substr(1218 + 2 * 221 + 74, 18), "    30.250-999-999");
    EXPECT_EQ(dbf.substr(dbf.size() - 2), " \x1a");
    ASSERT_EQ(dbt.size(), 512u + 2 * 523 + 2);
    auto pad = [](std::string s, std::size_t w) { s.resize(w, ' '); return s + '\x0d'; };
    EXPECT_EQ(dbt.substr(512 + 523, 523),
              pad("Filename: run.dbf ", 64) + pad(" Site: " + std::string(51, ' ') + "Airport_North ", 75) +
                  pad("  Number of trajectory points:   3", 64) + pad(" Lat:   52.519999    Long:    13.404996", 64) +
                  pad(" UTM Zone:  33    Easting:  391779.    Northing: 5820072.", 64) + std::string(187, 0));
    EXPECT_EQ(dbt.substr(512 + 64 + 1 + 7, 64), std::string(52, ' ') + "Ground_Level");

    // A name beginning with "-": the header and the memo blocks, no records.
    write_sample(*make_dbf_writer(false), sample_run("-run.dbf"));
    EXPECT_EQ(read_bytes("-run.dbf").size(), 1218u + 1);
}

// The memo's name is cut at the first dot, even in a folder's name.
TEST_F(Dbf, DbtNameCutAtTheFirstDot) {
    EXPECT_EQ(dbt_name("a.dbf   "), "a.dbt");
    EXPECT_EQ(dbt_name("runs.v2/a.dbf"), "runs.dbt");
    EXPECT_EQ(dbt_name("a"), "dbt");
    std::filesystem::create_directory("out.d");
    DbfFiles f;
    DBFOPEN(0, "out.d/run.dbf", f);
    DBFCLOSE(f);
    EXPECT_TRUE(std::filesystem::exists("out.d/run.dbf") && std::filesystem::exists("out.dbt"));
}
