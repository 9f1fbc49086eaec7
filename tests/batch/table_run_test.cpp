// A site run with the option "yes", read back by GDAL's ogrinfo as a real client of the table: the
// 37 fields and the record count of the header (receivers passed over counted too).
#include <gtest/gtest.h>

#include <cstdlib>

#include "case_builder.h"

using namespace tntest;

TEST(TableRun, GdalReadsTheTable) {
    if (std::system("ogrinfo --version > /dev/null 2>&1") != 0) GTEST_SKIP() << "ogrinfo is not installed";
    CaseDir dir("table_run");
    dir.write_grid("flat.grd", "ZALT", 3, 3, 500.0f, 499500.0f, 3999500.0f, 11, [](int, int) { return 20.0f; });
    dir.write_trajectory("t.trj", 59.0, 70.0, {{0, 500000, 4000000, 300, 90, 0, 100, 80, 0},
                                              {1, 500100, 4000000, 300, 90, 0, 100, 80, 0},
                                              {2, 500200, 4000000, 300, 90, 0, 100, 80, 0}});
    dir.write_source("s.lst", "s.tab", {500.0f, 630.0f}, [](int, int) { return 75.0f; });
    dir.write("sites.txt", "x y z name\n500000 4000000 1.2 One\n500100 4000000 0.0 Ground\n");
    dir.write_control("c.ctl", {"flat.grd", "-", "sites.txt", "t.trj", "-", "-", "s.lst"});
    dir.write("run.txt", "open\nc.ctl\nsite\ntable\nopt: yes\nhrs:    0\nmin:    0\nsec:  0.000\n");
    ASSERT_EQ(std::system(("cd '" + dir.dir().string() + "' && '" + TN_BINARY_DIR + "/tracknoise' run.txt > out.txt").c_str()), 0);
    ASSERT_EQ(std::system(("cd '" + dir.dir().string() + "' && ogrinfo -ro -al -so table.dbf > info.txt 2>&1").c_str()), 0);
    const std::string info = dir.read("info.txt");
    // The header counts both receivers (6 records); GDAL reports what the header declares.
    EXPECT_NE(info.find("Feature Count: 6"), std::string::npos) << info;
    int fields = 0;
    for (const std::string& l : lines_of(info)) {
        if (l.find(": Integer") != std::string::npos || l.find(": Real") != std::string::npos ||
            l.find(": String") != std::string::npos) {
            ++fields;
        }
    }
    EXPECT_EQ(fields, 37) << info;
    for (const char* name : {"DATA_POINT", "SITE_ID", "TIME", "FLAT", "A_WEIGHT", "HZ_12.5", "1H_Z250", "HZ_20000"}) {
        EXPECT_NE(info.find(name), std::string::npos) << name;
    }
    EXPECT_TRUE(dir.exists("table.dbt"));
}
