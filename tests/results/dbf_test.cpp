// Result tables: the bytes of the header, the descriptors, a record and a memo block, built here
// from the written layout and not with the writer's code; and GDAL's ogrinfo as a real reader.
#include "results/dbf.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>

#include "environment/gdal_tools.h"

using namespace tn;
using namespace tntest;

namespace {

// Runs each test in a scratch folder with a fixed date.
class Dbf : public ::testing::Test {
protected:
    void SetUp() override {
        here_ = std::filesystem::current_path().string();
        ASSERT_EQ(chdir(dir_.path.c_str()), 0);
        setenv("SOURCE_DATE_EPOCH", "1431691200", 1);   // 2015-05-15 12:00 UTC
    }
    void TearDown() override {
        unsetenv("SOURCE_DATE_EPOCH");
        ASSERT_EQ(chdir(here_.c_str()), 0);
    }
    ScratchDir dir_;
    std::string here_;
};

std::string le32(std::uint32_t v) {
    return {char(v & 0xff), char((v >> 8) & 0xff), char((v >> 16) & 0xff), char(v >> 24)};
}

// Header, descriptors, 0x0D and the first delete flag, byte by byte from the layout tables.
std::string expected_head(std::uint32_t nrec, char year, char month, char day) {
    std::string h = {'\x83', year, month, day};
    h += le32(nrec) + std::string("\xc1\x04\xdd\x00", 4) + std::string(20, '\0');   // 1217, 221
    struct F { const char* name; char type; char len; char dec; };
    std::vector<F> fields = {{"DATA_POINT", 'N', 10, 0}, {"SITE_ID", 'C', 64, 0}, {"TIME", 'N', 10, 3}};
    for (const char* n : {"FLAT", "A_WEIGHT", "HZ_10", "HZ_12.5", "HZ_16", "HZ_20", "HZ_25", "HZ_31.5", "HZ_40",
                          "HZ_50", "HZ_63", "HZ_80", "HZ_100", "HZ_125", "HZ_160", "HZ_200", "HZ_250", "HZ_315",
                          "HZ_400", "HZ_500", "HZ_800", "HZ_1000", "1H_Z250", "HZ_1600", "HZ_2000", "2H_Z500",
                          "HZ_3150", "HZ_4000", "HZ_5000", "HZ_8000", "HZ_10000", "HZ_12500", "HZ_16000", "HZ_20000"})
        fields.push_back({n, 'N', 4, 0});
    for (const F& f : fields) {
        std::string d = f.name;
        d.resize(10, ' ');
        d += std::string(1, '\0') + f.type + std::string(4, '\0') + f.len + f.dec + std::string(2, '\0') + '\x01' +
             std::string(11, '\0');
        h += d;
    }
    return h + "\x0d ";
}

const int kRow[34] = {652, 598, -999, -999, 12345, -1000, 0, 1, -1, 10, 20, 30, 40, 50, 60, 70, 80,
                      90, 100, 110, 120, 130, 140, 150, 160, 170, 180, 190, 200, 210, 220, 230, 240, 250};

SITEREC site(const char* name, float z) {
    SITEREC s;
    s.x = 391779.0f;
    s.y = 5820072.0f;
    s.z = z;
    s.Name = name;
    return s;
}

}  // namespace

// Empty run: header and end marks only. The year byte is (year + 48) modulo 256: 15 for 2015, 208
// for 2208, and 0 for 2256, where it wraps.
TEST_F(Dbf, HeaderDescriptorsAndEndMarksByteExact) {
    for (const auto& [epoch, year] :
         {std::pair{"1431691200", '\x0f'}, std::pair{"7510536000", '\xd0'}, std::pair{"9025300800", '\x00'}}) {
        setenv("SOURCE_DATE_EPOCH", epoch, 1);
        DbfFiles f;
        DBFOPEN(258, "run.dbf", f);
        DBFCLOSE(f);
        const char month = year == '\x0f' ? 5 : 1, day = year == '\x0f' ? 15 : 1;
        EXPECT_EQ(read_bytes("run.dbf"), expected_head(258, year, month, day) + "\x1a") << epoch;
        EXPECT_EQ(read_bytes("run.dbt"), le32(1) + std::string(12, '\0') + '\x03' + std::string(495, '\0') + "\x1a\x1a");
    }
}

// A record: running number, name, time, 34 four-wide integers (asterisks when too wide), next flag.
// Both writers give the same bytes.
TEST_F(Dbf, RecordByteExact) {
    std::string want = "         7Airport_North" + std::string(51, ' ') + "  1234.568";
    for (const char* v : {" 652", " 598", "-999", "-999", "****", "****", "   0", "   1", "  -1", "  10", "  20",
                          "  30", "  40", "  50", "  60", "  70", "  80", "  90", " 100", " 110", " 120", " 130",
                          " 140", " 150", " 160", " 170", " 180", " 190", " 200", " 210", " 220", " 230", " 240", " 250"})
        want += v;
    want += ' ';
    ASSERT_EQ(want.size(), 221u);
    DbfFiles f;
    DBFOPEN(2, "run.dbf", f);
    DBFRECORD(7, "Airport_North", 1234.5678f, kRow, f);
    DBFRECORD(8, "x", 1000000.0f, kRow, f);   // TIME is ten wide: a million seconds no longer fits
    DBFCLOSE(f);
    const std::string all = read_bytes("run.dbf");
    ASSERT_EQ(all.size(), 1218u + 2 * 221 + 1);
    EXPECT_EQ(all.substr(1218, 221), want);
    EXPECT_EQ(all.substr(1218 + 221 + 74, 10), "**********");
    std::string buffered;
    append_dbf_record(buffered, 7, "Airport_North", 1234.5678f, kRow);
    EXPECT_EQ(buffered, want);
}

// Two receivers of three points, the first at height zero: both have memo blocks, only the second
// has records, and the header counts six. Latitude and longitude of 33N 391779 5820072 from
// GeoConvert (GeographicLib 2.1.2): 52.519998518 13.404996232.
TEST_F(Dbf, ZeroHeightReceiverHasMemoBlockAndNoRecords) {
    DbfFiles f;
    DBFOPEN(6, "run.dbf", f);
    SITEMEMO(site("Ground_Level", 0.0f), 33, "run.dbf", 3, f);
    SITEMEMO(site("Airport_North", 1.2f), 33, "run.dbf", 3, f);
    for (int n = 1; n <= 3; ++n) DBFRECORD(2, "Airport_North", 10.0f * n, kRow, f);
    DBFCLOSE(f);

    const std::string dbf = read_bytes("run.dbf");
    EXPECT_EQ(dbf.size(), 1218u + 3 * 221 + 1);
    EXPECT_EQ(dbf.substr(4, 4), le32(6));
    EXPECT_EQ(dbf.substr(dbf.size() - 2), " \x1a");

    const std::string dbt = read_bytes("run.dbt");
    ASSERT_EQ(dbt.size(), 512u + 2 * 523 + 2);
    auto pad = [](std::string s, std::size_t w) { s.resize(w, ' '); return s + '\x0d'; };
    const std::string block = pad("Filename: run.dbf ", 64) + pad(" Site: " + std::string(51, ' ') + "Airport_North ", 75) +
                              pad("  Number of trajectory points:   3", 64) +
                              pad(" Lat:   52.519999    Long:    13.404996", 64) +
                              pad(" UTM Zone:  33    Easting:  391779.    Northing: 5820072.", 64) + std::string(187, '\0');
    EXPECT_EQ(dbt.substr(512 + 523, 523), block);
    EXPECT_EQ(dbt.substr(512 + 64 + 1 + 7, 64), std::string(52, ' ') + "Ground_Level");
}

TEST_F(Dbf, DbtNameCutAtTheFirstDot) {
    EXPECT_EQ(dbt_name("a.dbf   "), "a.dbt");
    EXPECT_EQ(dbt_name("runs.v2/a.dbf"), "runs.dbt");
    EXPECT_EQ(dbt_name("a"), "dbt");
    std::filesystem::create_directory("out.d");
    DbfFiles f;
    DBFOPEN(0, "out.d/run.dbf", f);
    DBFCLOSE(f);
    EXPECT_TRUE(std::filesystem::exists("out.d/run.dbf"));
    EXPECT_TRUE(std::filesystem::exists("out.dbt"));
}

// GDAL reads the table: 37 fields of the declared names, types and widths, the record count, and
// the values of a record (HZ_800 holds the 630 Hz band, the 19th). GDAL keeps the blanks that pad
// a name to ten characters as part of the name ("HZ_10     "), so names are matched with them.
TEST_F(Dbf, OgrinfoReadsTheTable) {
    TN_REQUIRE_GDAL_TOOL("ogrinfo");
    DbfFiles f;
    DBFOPEN(2, "run.dbf", f);
    SITEMEMO(site("Airport_North", 1.2f), 33, "run.dbf", 2, f);
    DBFRECORD(1, "Airport_North", 1234.5678f, kRow, f);
    DBFRECORD(1, "Airport_North", 1240.0f, kRow, f);
    DBFCLOSE(f);
    bool ok = false;
    const std::string so = run("ogrinfo -ro -al -so run.dbf 2>&1", &ok);
    ASSERT_TRUE(ok) << so;
    EXPECT_NE(so.find("Feature Count: 2"), std::string::npos) << so;
    int fields = 0;
    for (std::size_t p = 0; (p = so.find(": Real (", p)) != std::string::npos; ++p) ++fields;
    for (std::size_t p = 0; (p = so.find(": Integer", p)) != std::string::npos; ++p) ++fields;
    for (std::size_t p = 0; (p = so.find(": String (64.0)", p)) != std::string::npos; ++p) ++fields;
    EXPECT_EQ(fields, 37) << so;
    auto name10 = [](std::string n) { n.resize(10, ' '); return n; };
    for (const auto& [name, decl] : {std::pair{"DATA_POINT", ": Integer64 (10.0)"}, {"SITE_ID", ": String (64.0)"},
                                     {"TIME", ": Real (10.3)"}, {"A_WEIGHT", ": Integer (4.0)"},
                                     {"HZ_12.5", ": Integer (4.0)"}, {"1H_Z250", ": Integer (4.0)"},
                                     {"2H_Z500", ": Integer (4.0)"}, {"HZ_20000", ": Integer (4.0)"}})
        EXPECT_NE(so.find("\n" + name10(name) + decl), std::string::npos) << name << "\n" << so;
    const std::string all = run("ogrinfo -ro -al -fid 0 run.dbf 2>&1");
    for (const auto& [name, value] : {std::pair{"SITE_ID", " (String) = Airport_North"}, {"TIME", " (Real) = 1234.568"},
                                      {"FLAT", " (Integer) = 652"}, {"HZ_12.5", " (Integer) = -999"},
                                      {"HZ_16", " (Integer) = (null)"}, {"HZ_800", " (Integer) = 120"},
                                      {"HZ_20000", " (Integer) = 250"}})
        EXPECT_NE(all.find("  " + name10(name) + value), std::string::npos) << name << "\n" << all;
}
