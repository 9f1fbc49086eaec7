// Broken inputs to every reader, given to the program itself as a child process: each must end
// with a clear message on standard error ("tracknoise: FILE...: what") and a non-zero exit code,
// never with a signal or a hang. Where a reader deliberately falls back (a bad site file gives the
// reference receiver; a missing ground, site, ambient, weather or Nord2000 file is "off"), the run
// goes on and ends normally instead; where the run goes on with a result that may mislead (a
// distance limit that leaves every point out of range, a run without rows), it says so in one
// warning line on standard error.
//
// Each case starts from a small case that runs (terrain grid, trajectory, source list and table,
// one site run), may switch one more reader on, and breaks one file in one way: empty, cut short,
// a number where a text belongs, a text where a number belongs, a line of 10 000 characters, CR LF
// line ends, a folder in the file's place, or no file at all. Every kind of breakage meets several
// readers and every reader several kinds, not all of them; the file layer's own messages are the
// tests/io tests', the script's fields and ends mostly the run table's. The program runs in the case's folder, with argument 0 prog/tracknoise, so that
// its rnd/ folder is the case's own.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cmath>
#include <cstring>

#include "case_builder.h"

using namespace tntest;

namespace {

const std::string kLong(10000, 'x');
const std::string kIni = "prog/rnd/directories.ini";
const std::string kTable = "prog/rnd/GroundImpedance.csv";
const fs::path kHemisphere = fs::path(TN_SOURCE_DIR) / "fuzz/corpus/hemisphere/small_classic.nc";

std::string crlf(const std::string& text) {
    std::string s;
    for (char c : text) s += c == '\n' ? std::string("\r\n") : std::string(1, c);
    return s;
}

std::string nine(float v) {
    const std::vector<float> f(9, v);
    return std::string(reinterpret_cast<const char*>(f.data()), f.size() * sizeof(float));
}

std::string sub(std::string s, const std::string& from, const std::string& to) {
    const std::size_t at = s.find(from);
    if (at == std::string::npos) throw std::logic_error("no '" + from + "' to replace");
    return s.replace(at, from.size(), to);
}

const char* const kRasterHeader =
    "ncols 3\nnrows 3\nxllcorner -117.005\nyllcorner 36.140\ncellsize 0.001\nNODATA_value -9999\nbyteorder LSBFIRST\n";
const char* const kCoverHeader =
    "ncols 3\nnrows 3\nxllcorner -1700000\nyllcorner 1500000\ncellsize 30\nNODATA_value 0\nbyteorder LSB\n";
const char* const kCoverPrj =
    "Projection    ALBERS\nDatum         WGS84\nSpheroid      WGS84\nUnits         METERS\nZunits        NO\n"
    "Xshift        0.0\nYshift        0.0\nParameters\n"
    "  29  30  0.0 /* 1st standard parallel\n  45  30  0.0 /* 2nd standard parallel\n"
    " -96 -30  0.0 /* central meridian\n  23   0  0.0 /* latitude of projection's origin\n";
const char* const kSit = "0\n2\n500100.0 4000100.0 4.0 'North'\n500300.0 4000300.0 5.0 'East'\n";
const char* const kSiteList = "x y z name\n500100.0 4000100.0 1.2 North\n500300.0 4000300.0 1.5 East\n";
const char* const kAmbient = "classes.txt\n2\n'Quiet' 32.0 24*20.0\n'Busy' 41.0 24*30.0\n";
const std::string kClassHead = "ncols 4\nnrows 4\nxllcorner -117.02\nyllcorner 36.12\ncellsize 0.01\nNODATA_value -9999\n";
const std::string kNines = kClassHead + "9 9 9 9\n9 9 9 9\n9 9 9 9\n9 9 9 9\n";
const std::string kClasses = kClassHead + "1 1 2 2\n1 1 2 2\n1 1 2 2\n1 1 2 2\n";
const char* const kNord =
    "Nord2000 parameters\nparameter one:        1.5\nparameter two:        0.25\nparameter three:      3.0\n";
const char* const kWeather = "Single Parameter Weather\ncomment\n15.0 70.0 10.0 2.0 90.0 1.0 2.0 0.0 3.0 4.0\n";
const std::string kProfileHead = "Weather profile\nstation\ndate\n4\n5\n6\nlabel   temp    dew ...\n";
const std::string kProfileLevel = "ground    20.00   10.00    6.00    0.00 1013.00    1234.50     9.9     100.00\n";
const std::string kProfile = kProfileHead + kProfileLevel + std::string(80, ' ') + "\n";
const std::string kTableRun = "opt: yes\nhrs:    0\nmin:    0\nsec:  0.000\n";
const std::string kGridRun = "open\ncase.ctl\ngrid\ng\n";

struct Outcome {
    bool exited = false, hung = false;   // exited: ended by exit, not by a signal
    int code = -1, signal = 0;
    std::string out, err;
};

// One case in its own folder; names in its control file and script are relative to that folder.
struct Case {
    CaseDir dir{"broken"};
    std::vector<std::string> ctl{"terrain.grd", "-", "-", "track.trj", "-", "-", "src.lst"};
    std::string script = "open\ncase.ctl\n" + site_run("out") + "stop\n";
    bool write_script = true;
    std::vector<std::pair<std::string, std::string>> env;   // set in the program's environment

    Case() {
        write_small_case(dir);
        remove("case.ctl");
        fs::create_directories(dir.dir() / "prog" / "rnd");
        for (const char* f : {"directories.ini", "GroundImpedance.csv"})
            fs::copy_file(fs::path(TN_BINARY_DIR) / "rnd" / f, dir.dir() / "prog" / "rnd" / f);
    }
    // A grid of 5 by 5 nodes 100 m apart, all holding v.
    void grid(const char* name, const char* tag, float v) const {
        dir.write_grid(name, tag, 5, 5, 100.0f, 500000.0f, 4000000.0f, 11, [v](int, int) { return v; });
    }
    void write(const std::string& name, const std::string& bytes) const { dir.write(name, bytes); }
    void remove(const std::string& name) const { fs::remove(dir.dir() / name); }
    void folder(const std::string& name) const { remove(name); fs::create_directories(dir.dir() / name); }
    void cut(const std::string& name, std::size_t keep) const { write(name, dir.read(name).substr(0, keep)); }
    void replace(const std::string& name, const std::string& from, const std::string& to) const {
        write(name, sub(dir.read(name), from, to));
    }
    void to_crlf(const std::string& name) const { write(name, crlf(dir.read(name))); }

    // The optional readers, each switched on with a file that reads.
    void raster() { ctl[0] = "terrain.flt"; write("terrain.hdr", kRasterHeader); write("terrain.flt", nine(10.0f)); }
    void imp() { ctl[1] = "ground.imp"; grid("ground.imp", "FLOW", 200.0f); }
    void cover() { ctl[1] = "cover.flt"; write("cover.hdr", kCoverHeader); write("cover.prj", kCoverPrj); cells(21); }
    void cells(float v) const { write("cover.flt", nine(v)); }
    void sit() { ctl[2] = "sites.sit"; write("sites.sit", kSit); }
    void list() { ctl[2] = "sites.txt"; write("sites.txt", kSiteList); }
    void ambient(const std::string& name) { ctl.insert(ctl.end(), {"30.48", "info", name}); }   // lines 8 to 10
    void amb() { ambient("ambient.txt"); write("ambient.txt", kAmbient); write("classes.txt", kClasses); }
    void hemi() { ctl[6] = "jet.nc"; fs::copy_file(kHemisphere, dir.dir() / "jet.nc"); }
    void wx(const std::string& text) { ctl[4] = "wx.txt"; write("wx.txt", text); }
    void nord(const std::string& text) { ctl[5] = "nord.txt"; write("nord.txt", text); }

    // The real program as a child, with argument 0 prog/tracknoise and the case's folder as its
    // working folder. A run that takes two minutes is a hang.
    Outcome run() {
        if (!dir.exists("case.ctl")) dir.write_control("case.ctl", ctl);
        if (write_script && !dir.exists("run.txt")) write("run.txt", script);
        Child c = start(dir, kProgram, {"prog/tracknoise", "--threads", "1", "run.txt"}, "console", env);
        finish(c);
        Outcome r{WIFEXITED(c.status), c.hung, WIFEXITED(c.status) ? WEXITSTATUS(c.status) : -1,
                  WIFSIGNALED(c.status) ? WTERMSIG(c.status) : 0, dir.read("console.out"), dir.read("console.err")};
        return r;
    }
};

std::string show(const Outcome& o) {
    return "exit " + std::to_string(o.code) + (o.signal ? ", signal " + std::to_string(o.signal) : "") +
           (o.hung ? ", hung" : "") + "\n--- stdout\n" + o.out.substr(0, 1500) + "\n--- stderr\n" + o.err.substr(0, 1500);
}

using Check = std::function<void(const Case&)>;

// The receivers named in the run's result file.
Check sites_are(const std::vector<std::string>& names) {
    return [names](const Case& c) {
        std::vector<std::string> found;
        for (const std::string& line : lines_of(c.dir.read("out.tis"))) {
            if (line.rfind("Site: ", 0) != 0) continue;
            found.push_back(line.substr(6));
            found.back().erase(found.back().find_last_not_of(' ') + 1);
        }
        EXPECT_EQ(found, names);
    };
}
const Check kReference = sites_are({"Reference_Point"});

// No result file, and nothing of a run on the console.
const Check nothing_written = [](const Case& c) {
    for (const auto& e : fs::directory_iterator(c.dir.dir())) {
        const std::string n = e.path().filename().string();
        EXPECT_TRUE(n.find(".tis") == std::string::npos && n.find("out") != 0) << n;
    }
    EXPECT_EQ(c.dir.read("console.out").find("Generating site files"), std::string::npos);
};

// Every level of the site run's result file is missing (-999 in the flat and A-weighted columns).
const Check levels_missing = [](const Case& c) {
    int lines = 0;
    for (const std::string& line : lines_of(c.dir.read("out.tis"))) {
        if (line.size() != 192) continue;
        ++lines;
        EXPECT_EQ(line.substr(16, 10), " -999 -999") << line;
    }
    EXPECT_EQ(lines, 3);
};

// The count of records that a result table declares in its header.
Check records_are(const char* table, std::int32_t n) {
    return [table, n](const Case& c) {
        const std::string dbf = c.dir.read(table);
        std::int32_t found = -1;
        if (dbf.size() >= 8) std::memcpy(&found, dbf.data() + 4, 4);
        EXPECT_EQ(found, n);
    };
}

// A stop with standard error beginning "tracknoise: " + name and holding `what`; with an empty
// name, a normal end with nothing on standard error, or, when `what` is given, with one warning line
// that holds it. `check` looks at the files either way.
struct Breakage {
    const char* how;
    void (*brk)(Case&);
    std::string name, what;
    Check check = nullptr;
};

const Breakage kCases[] = {
    {"script: missing", [](Case& c) { c.write_script = false; }, "run.txt", "cannot open the file: No such file"},
    {"script: empty, a normal end with nothing done", [](Case& c) { c.script.clear(); }, "", "",
     [](const Case& c) { EXPECT_FALSE(c.dir.exists("out.tis")); }},
    {"script: a number for the option", [](Case& c) { c.script = sub(c.script, "opt: no", "opt: 42"); }, "run.txt:5",
     "the output option of \"site\" is '42  '"},
    {"script: a control name of 10 000 characters", [](Case& c) { c.script = "open\n" + kLong + "\nstop\n"; },
     "run.txt:2", "the control file's name: the name does not fit in 255 characters (it has 10000)"},
    // Every text file that a run reads, CR LF at once (the weather files' are below).
    {"CR LF: script, control (lines 8 to 10 too), raster header, land cover, .sit, ambient, trajectory, source, Nord2000",
     [](Case& c) {
         c.raster(), c.cover(), c.sit(), c.amb(), c.nord(kNord);
         c.dir.write_control("case.ctl", c.ctl);
         for (const std::string f : {"case.ctl", "terrain.hdr", "cover.hdr", "cover.prj", "sites.sit", "ambient.txt",
                                     "classes.txt", "track.trj", "src.lst", "t.tab", "nord.txt", kTable.c_str()})
             c.to_crlf(f);
         c.script = crlf(c.script);
     }, "", "", sites_are({"North", "East"})},
    {"script: a UTF-8 byte-order mark is passed over", [](Case& c) { c.script = "\xEF\xBB\xBF" + c.script; }, "", "",
     kReference},
    {"script: an output name that does not fit in 255 characters with \".tis\", nothing written",
     [](Case& c) { c.script = sub(c.script, "\nout\n", "\n" + std::string(252, 'o') + "\n"); }, "run.txt:4",
     "has 256 characters with its extension; it does not fit in 255", nothing_written},
    {"script: a NUL in the output name, nothing written",
     [](Case& c) { c.script = sub(c.script, "\nout\n", std::string("\nout\0x\n", 7)); }, "run.txt:4",
     "the output base name: a NUL byte stands in the name at column 4", nothing_written},
    {"script: an output name beginning with \"-\": a header, no rows",
     [](Case& c) { c.script = sub(c.script, "\nout\n", "\n-out\n"); }, "",
     "-out.tis: the result has no rows: the output name begins with \"-\""},
    {"environment: SOURCE_DATE_EPOCH 1e9", [](Case& c) { c.env = {{"SOURCE_DATE_EPOCH", "1e9"}}; },
     "SOURCE_DATE_EPOCH is '1e9'", "a whole number of seconds", nothing_written},
    {"environment: SOURCE_DATE_EPOCH past the year 9999", [](Case& c) { c.env = {{"SOURCE_DATE_EPOCH", "253402300800"}}; },
     "SOURCE_DATE_EPOCH is '253402300800'", "(the end of the year 9999)"},

    {"control: empty", [](Case& c) { c.write("case.ctl", ""); }, "case.ctl:1",
     "unexpected end of file, expected the terrain file on line 1"},
    {"control: three lines", [](Case& c) { c.ctl.resize(3); }, "case.ctl:4",
     "unexpected end of file, expected the trajectory file on line 4"},
    {"control: text for line 8", [](Case& c) { c.ctl.push_back("thirty"); }, "case.ctl:8",
     "expected a real number, found 'thirty'"},
    {"control: a ground name of 315 characters", [](Case& c) { c.ctl[1] = std::string(315, 'g'); }, "case.ctl:2",
     "the ground file: the name does not fit in 255 characters (it has 315)"},
    {"control: a NUL in the terrain name", [](Case& c) { c.ctl[0] = std::string("terrain.grd\0old", 15); }, "case.ctl:1",
     "the terrain file: a NUL byte stands in the name at column 12"},

    // The directories file falls back to the default distance, unless there is no file to read.
    {"directories: text for the distance, the default used", [](Case& c) { c.write(kIni, "Max\nfar\n"); }, "",
     "prog/rnd/directories.ini:2: the distance limit \"Max\" cannot be read as a number"},
    // A limit is taken as it stands, and said when nothing or everything is in range.
    {"directories: a distance of 0", [](Case& c) { c.write(kIni, "Max\n0\n"); }, "",
     "prog/rnd/directories.ini:2: the distance limit \"Max\" is 0 metres", levels_missing},
    {"directories: a distance that is not a number", [](Case& c) { c.write(kIni, "Max\nNaN\n"); }, "",
     "\"Max\" is not a number", levels_missing},
    {"directories: an infinite distance", [](Case& c) { c.write(kIni, "Max\nInfinity\n"); }, "", "\"Max\" is infinite"},
    {"directories: a line of 10 000 characters", [](Case& c) { c.write(kIni, kLong + "\n1\nMax\n25000\n"); }, "", ""},
    {"directories: a folder", [](Case& c) { c.folder(kIni); }, kIni, "it is a folder"},

    {"terrain grid: empty", [](Case& c) { c.write("terrain.grd", ""); }, "terrain.grd: byte 0", "unexpected end"},
    {"terrain grid: a device", [](Case& c) { c.ctl[0] = "/dev/urandom"; }, "/dev/urandom",
     "cannot open the file: it is a device, a regular file was expected"},
    {"terrain grid: a spacing that is not a number: no receiver placed, no rows",
     [](Case& c) {
         c.dir.write_grid("terrain.grd", "ZALT", 5, 5, std::nanf(""), 500000.0f, 4000000.0f, 11, [](int, int) { return 10.0f; });
         c.script = kGridRun + "ii:    3\nii:    1   3\njj:    3\njj:    1   3\nopt: no\nhrs:    0\nmin:    0\nsec:  0.000\n";
     }, "", "g.tig: the result has no rows: no receiver has a position that is a number"},
    {"terrain grid: a spacing of 0: receivers in one place",
     [](Case& c) {
         c.dir.write_grid("terrain.grd", "ZALT", 5, 5, 0.0f, 500000.0f, 4000000.0f, 11, [](int, int) { return 10.0f; });
         c.script = kGridRun + "ii:    3\nii:    1   3\njj:    3\njj:    1   3\nopt: no\nhrs:    0\nmin:    0\nsec:  0.000\n";
     }, "", "terrain.grd: the terrain grid's spacing is 0 by 0 m"},

    {"raster: header missing", [](Case& c) { c.raster(); c.remove("terrain.hdr"); }, "terrain.hdr", "cannot open"},
    {"raster: header cut", [](Case& c) { c.raster(); c.cut("terrain.hdr", 55); }, "terrain.hdr", "end of file"},
    {"raster: text for the columns", [](Case& c) { c.raster(); c.replace("terrain.hdr", "ncols 3", "ncols three"); },
     "terrain.hdr:1", "expected an integer, found 'three'"},
    {"raster: a number for the byte order: little-endian",
     [](Case& c) { c.raster(); c.replace("terrain.hdr", "LSBFIRST", "12345"); }, "", ""},
    {"raster: floats cut", [](Case& c) { c.raster(); c.cut("terrain.flt", 30); }, "terrain.flt: byte 30",
     "unexpected end of file, expected 3 by 3 floats"},

    {"ground grid: missing, off", [](Case& c) { c.imp(); c.remove("ground.imp"); }, "", ""},
    {"ground grid: cut", [](Case& c) { c.imp(); c.cut("ground.imp", 110); }, "ground.imp: byte", "unexpected end"},
    // The ground grid sets the run's zone, as every grid read does.
    {"ground grid: another UTM zone than the terrain's",
     [](Case& c) { c.imp(); c.dir.write_grid("ground.imp", "FLOW", 5, 5, 100.0f, 500000.0f, 4000000.0f, 12, [](int, int) { return 200.0f; }); },
     "", "ground.imp: the ground grid leaves the run in UTM zone 12 where the terrain terrain.grd has zone 11",
     [](const Case& c) { EXPECT_NE(c.dir.read("out.tis").find("UTM Zone:  12"), std::string::npos); }},
    {"ground: a file of no known kind", [](Case& c) { c.ctl[1] = "track.trj"; }, "track.trj",
     "neither a \".imp\" ground grid nor a \".flt\" land cover raster"},
    {"land cover: text for the angles", [](Case& c) { c.cover(); c.replace("cover.prj", "  29  30", "  north"); },
     "cover.prj:9", "expected a real number, found 'north'"},
    {"land cover: a class beyond 200", [](Case& c) { c.cover(); c.cells(300); },
     "cover.flt: byte", "expected a land cover class from 1 to 200"},
    {"land cover: class table missing", [](Case& c) { c.cover(); c.remove(kTable); }, kTable, "cannot open the file"},

    // A site file that cannot be read gives the reference receiver; what it held before an end of
    // file stands.
    {".sit: missing", [](Case& c) { c.sit(); c.remove("sites.sit"); }, "", "", kReference},
    {".sit: text", [](Case& c) { c.sit(); c.replace("sites.sit", "4000300.0", "north"); }, "", "", kReference},
    {".sit: empty, no receivers", [](Case& c) { c.sit(); c.write("sites.sit", ""); }, "",
     "out.tis: the result has no rows: the case has no receivers", sites_are({})},
    {".sit: cut in its second site, which the run names", [](Case& c) { c.sit(); c.cut("sites.sit", 45); }, "", "",
     sites_are({"North", "Site002"})},
    {".sit: a name of 10 000 characters, cut at 64", [](Case& c) { c.sit(); c.replace("sites.sit", "'North'", kLong); },
     "", "", sites_are({kLong.substr(0, 64), "East"})},
    {".sit: a folder", [](Case& c) { c.sit(); c.folder("sites.sit"); }, "sites.sit", "it is a folder"},
    {"site list: CR LF", [](Case& c) { c.list(); c.to_crlf("sites.txt"); }, "", "", sites_are({"North", "East"})},
    {"site list: text", [](Case& c) { c.list(); c.replace("sites.txt", "4000100.0", "north"); }, "", "", kReference},
    // Found by fuzzing: a negative count of sites, or a grid block whose columns run backwards,
    // went on into the count of a table's records (the .dbf declared -357 records).
    {".sit with counts of -3 and -7: a table of no records",
     [](Case& c) {
         c.ctl[2] = "sites.sit";
         c.write("sites.sit", "-3\n-7\n500100.0 4000100.0 4.0 'Unread'\n");
         c.script = "open\ncase.ctl\nsite\nt\n" + kTableRun;
     }, "", "t.dbf: the result has no rows: the case has no receivers", records_are("t.dbf", 0)},
    {"a grid block from column 3 back to 1: a table of no records",
     [](Case& c) { c.script = kGridRun + "ii:    3\nii:    3   1\njj:    2\njj:    1   2\n" + kTableRun; }, "",
     "g.dbf: the result has no rows: the grid block, columns 3 to 1 and rows 1 to 2, runs backwards",
     records_are("g.dbf", 0)},
    {"a grid block backwards both ways: one receiver that no position filled",
     [](Case& c) { c.script = kGridRun + "ii:    3\nii:    3   1\njj:    3\njj:    3   1\n" + kTableRun; }, "",
     "runs backwards", records_are("g.dbf", 3)},
    {"a grid of one receiver column: no position, no rows",
     [](Case& c) { c.script = kGridRun + "ii:    1\nii:    1   1\njj:    3\njj:    1   3\n" + kTableRun; }, "",
     "g.dbf: the result has no rows: a receiver count of 1 across the grid (Iicount 1, Jjcount 3) divides",
     records_are("g.dbf", 9)},

    {"ambient: definition missing, off", [](Case& c) { c.amb(); c.remove("ambient.txt"); }, "", ""},
    {"ambient: text for the class count", [](Case& c) { c.amb(); c.replace("ambient.txt", "\n2\n", "\ntwo\n"); },
     "ambient.txt:2", "expected an integer, found 'two'"},
    {"ambient: the second class cut", [](Case& c) { c.amb(); c.cut("ambient.txt", 40); }, "ambient.txt:4",
     "ambient class 2: a name, the A-weighted level and 24 band levels"},
    {"ambient: a class the definition lacks", [](Case& c) { c.amb(); c.write("classes.txt", kNines); },
     "classes.txt", "falls in ambient class 9"},

    {"trajectory: missing", [](Case& c) { c.remove("track.trj"); }, "track.trj", "the trajectory file does not exist"},
    {"trajectory: a number for line 1", [](Case& c) { c.replace("track.trj", "Flight track", "12345"); }, "track.trj",
     "does not begin with \"Flight track\""},
    {"trajectory: cut after ten lines", [](Case& c) { c.cut("track.trj", 120); }, "track.trj:",
     "unexpected end of file, expected the 16 head lines of the trajectory"},
    {"trajectory: text for the temperature", [](Case& c) { c.replace("track.trj", " 59.0", " warm"); }, "track.trj:13",
     "columns 7-11: expected a real number"},
    {"trajectory: a point line of text is passed over", [](Case& c) { c.replace("track.trj", "4000200.000", "a"); },
     "", ""},
    {"trajectory: a named pipe", [](Case& c) { c.remove("track.trj"); ::mkfifo(c.dir.path("track.trj").c_str(), 0644); },
     "track.trj", "it is a named pipe, a regular file was expected"},
    {"trajectory: a line longer than 1 MiB", [](Case& c) { c.replace("track.trj", "head line 3", std::string(1 << 21, 'h')); },
     "track.trj:3", "the line is longer than 1 MiB"},

    {"source list: empty", [](Case& c) { c.write("src.lst", ""); }, "src.lst:1", "unexpected end of file"},
    {"source list: text for the band count", [](Case& c) { c.replace("src.lst", "\n3\n1\n", "\nthree\n1\n"); },
     "src.lst:5", "expected an integer, found 'three'"},
    {"source list: no condition, refused at set-up", [](Case& c) { c.replace("src.lst", "\n3\n1\n", "\n3\n0\n"); },
     "src.lst:6", "the condition count is 0; 1 to 20 conditions are possible"},
    {"source list: text where the lowest source height belongs", [](Case& c) { c.replace("src.lst", "1600\n", "1600\nhigh\n"); },
     "src.lst:11", "the lowest source height in feet, or the end of the list"},
    {"source list: a type of 10 000 characters", [](Case& c) { c.replace("src.lst", "Other", kLong); }, "", ""},
    {"source table: cut", [](Case& c) { c.cut("t.tab", 300); }, "t.tab:", "unexpected end of file"},
    {"source table: text for a level", [](Case& c) { c.replace("t.tab", " 71.0", " loud"); }, "t.tab:3",
     "columns 21-25: expected a real number"},

    {"hemisphere: missing", [](Case& c) { c.ctl[6] = "jet.nc"; }, "jet.nc", "hemisphere file not found"},
    // A file cut short once gave zeros as levels.
    {"hemisphere: cut in its levels", [](Case& c) { c.hemi(); c.cut("jet.nc", 450); }, "jet.nc",
     "not a readable netCDF file (the data of variable 'level' reach byte"},
    {"hemisphere: a folder", [](Case& c) { c.hemi(); c.folder("jet.nc"); }, "jet.nc", "not a readable netCDF file"},

    {"weather: missing, off", [](Case& c) { c.ctl[4] = "wx.txt"; }, "", ""},
    {"weather: empty", [](Case& c) { c.wx(""); }, "wx.txt:1", "unexpected end of file, expected line 1 of the weather"},
    {"weather: profile cut before its blank label", [](Case& c) { c.wx(kProfileHead + kProfileLevel); }, "wx.txt:9",
     "unexpected end of file"},
    {"weather: text for a temperature", [](Case& c) { c.wx(kProfile); c.replace("wx.txt", "  20.00", "   warm"); },
     "wx.txt:8", "columns 9-15: expected a real number"},
    {"weather: text among the single parameters", [](Case& c) { c.wx(kWeather); c.replace("wx.txt", "10.0", "steep"); },
     "wx.txt:3", "expected a real number, found 'steep'"},
    {"weather: a line 1 of 10 000 characters is a profile head", [](Case& c) { c.wx(kLong + "\n"); }, "wx.txt:2",
     "unexpected end of file"},
    // Read in full: the stop is then for the missing library, still naming the weather file.
    {"weather: CR LF", [](Case& c) { c.wx(crlf(kWeather)); }, "wx.txt", "selects the Nord2000 propagation model"},
    {"weather: profile CR LF", [](Case& c) { c.wx(crlf(kProfile)); }, "wx.txt", "selects the Nord2000 propagation"},

    {"Nord2000 parameters: missing, off", [](Case& c) { c.ctl[5] = "nord.txt"; }, "", ""},
    {"Nord2000 parameters: text", [](Case& c) { c.nord(kNord); c.replace("nord.txt", "0.25", "some"); }, "nord.txt:3",
     "expected a real number, found 'some'"},
    {"Nord2000 parameters: 10 000 characters behind a value",
     [](Case& c) { c.nord(kNord); c.replace("nord.txt", "0.25", "0.25 " + kLong); }, "", ""},
};

}  // namespace

TEST(BrokenInputs, EachReaderStopsWithTheFileNamedOrFallsBack) {
    for (const Breakage& b : kCases) {
        SCOPED_TRACE(b.how);
        Case c;
        b.brk(c);
        const Outcome o = c.run();
        ASSERT_FALSE(o.hung) << show(o);
        ASSERT_TRUE(o.exited) << show(o);
        if (b.check) b.check(c);
        if (b.name.empty()) {
            EXPECT_EQ(o.code, 0) << show(o);
            if (b.what.empty()) {
                EXPECT_EQ(o.err, "") << show(o);
            } else {
                EXPECT_EQ(o.err.rfind("tracknoise: warning: ", 0), 0u) << show(o);
                EXPECT_EQ(std::count(o.err.begin(), o.err.end(), '\n'), 1) << show(o);
                EXPECT_NE(o.err.find(b.what), std::string::npos) << "expected: " << b.what << "\n" << show(o);
            }
        } else {
            EXPECT_NE(o.code, 0) << show(o);
            EXPECT_EQ(o.err.rfind("tracknoise: " + b.name, 0), 0u) << show(o);
            EXPECT_NE(o.err.find(b.what), std::string::npos) << "expected: " << b.what << "\n" << show(o);
        }
    }
}
