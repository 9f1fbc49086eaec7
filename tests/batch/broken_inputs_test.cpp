// Broken inputs to every reader, given to the program itself as a child process: each must end
// with a clear message on standard error ("tracknoise: FILE...: what") and a non-zero exit code,
// never with a signal or a hang. Where a reader deliberately falls back (a bad site file gives the
// reference receiver; a missing ground, site, ambient, weather or Nord2000 file is "off"), the run
// goes on and ends normally instead.
//
// Each case starts from a small case that runs (terrain grid, trajectory, source list and table,
// one site run) and breaks one file in one way: empty, cut short, a number where a text belongs, a
// text where a number belongs, a line of 10 000 characters, CR LF line ends, a folder in the file's
// place, or no file at all. The program runs in the case's folder, with argument 0
// prog/tracknoise, so that its rnd/ folder is the case's own.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <thread>

#include "case_builder.h"

using namespace tntest;

namespace {

const std::string kProgram = std::string(TN_BINARY_DIR) + "/tracknoise";
const std::string kLong(10000, 'x');

struct Outcome {
    bool exited = false;   // ended by exit, not by a signal
    int code = -1;
    int signal = 0;
    bool hung = false;
    std::string out;
    std::string err;
};

std::string crlf(const std::string& text) {
    std::string s;
    for (char c : text) {
        if (c == '\n') s += '\r';
        s += c;
    }
    return s;
}

std::string floats(const std::vector<float>& v) {
    return std::string(reinterpret_cast<const char*>(v.data()), v.size() * sizeof(float));
}

std::string nine(float v) { return floats(std::vector<float>(9, v)); }

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
const char* const kClasses =
    "ncols 4\nnrows 4\nxllcorner -117.02\nyllcorner 36.12\ncellsize 0.01\nNODATA_value -9999\n"
    "1 1 2 2\n1 1 2 2\n1 1 2 2\n1 1 2 2\n";
const char* const kNord =
    "Nord2000 parameters\nparameter one:        1.5\nparameter two:        0.25\nparameter three:      3.0\n";
const char* const kWeather = "Single Parameter Weather\ncomment\n15.0 70.0 10.0 2.0 90.0 1.0 2.0 0.0 3.0 4.0\n";
const char* const kProfileHead = "Weather profile\nstation\ndate\n4\n5\n6\nlabel   temp    dew ...\n";
const char* const kProfileLevel = "ground    20.00   10.00    6.00    0.00 1013.00    1234.50     9.9     100.00\n";

// One case in its own folder; names in its control file and script are relative to that folder.
struct Case {
    CaseDir dir{"broken"};
    std::vector<std::string> ctl{"terrain.grd", "-", "-", "track.trj", "-", "-", "src.lst"};
    std::string script = "open\ncase.ctl\n" + site_block("out");
    bool write_script = true;

    Case() {
        dir.write_grid("terrain.grd", "ZALT", 5, 5, 100.0f, 500000.0f, 4000000.0f, 11, [](int, int) { return 10.0f; });
        dir.write_trajectory("track.trj", 59.0, 70.0,
                             {{0, 500000, 4000200, 310, 90, 0, 100, 80, 0},
                              {1, 500100, 4000200, 310, 90, 0, 100, 80, 0},
                              {2, 500200, 4000200, 310, 90, 0, 100, 80, 0}});
        dir.write_source("src.lst", "t.tab", {1000.0f, 1250.0f, 1600.0f}, [](int b, int) { return 70.0f + b; });
        fs::create_directories(dir.dir() / "prog" / "rnd");
        for (const char* f : {"directories.ini", "GroundImpedance.csv"}) {
            fs::copy_file(fs::path(TN_BINARY_DIR) / "rnd" / f, dir.dir() / "prog" / "rnd" / f);
        }
    }
    static std::string site_block(const std::string& base) {
        return "site\n" + base + "\nopt: no\nhrs:    0\nmin:    0\nsec:  0.000\nstop\n";
    }
    std::string p(const std::string& name) const { return dir.path(name); }
    void write(const std::string& name, const std::string& bytes) const { dir.write(name, bytes); }
    // A file replaced by a folder of the same name.
    void folder(const std::string& name) const {
        fs::remove(dir.dir() / name);
        fs::create_directories(dir.dir() / name);
    }
    void remove(const std::string& name) const { fs::remove(dir.dir() / name); }
    void cut(const std::string& name, std::size_t keep) const {
        const std::string all = dir.read(name);
        dir.write(name, all.substr(0, std::min(keep, all.size())));
    }
    void replace(const std::string& name, const std::string& from, const std::string& to) const {
        std::string all = dir.read(name);
        const std::size_t at = all.find(from);
        if (at == std::string::npos) throw std::logic_error(name + " holds no '" + from + "'");
        dir.write(name, all.replace(at, from.size(), to));
    }
    void to_crlf(const std::string& name) const { dir.write(name, crlf(dir.read(name))); }
    void write_control_crlf() const {
        std::string s;
        for (const std::string& l : ctl) s += l + "\r\n";
        dir.write("case.ctl", s);
    }
    // Control lines 8 to 10, for an ambient definition.
    void ambient(const std::string& name) {
        ctl.resize(7);
        ctl.insert(ctl.end(), {"30.48", "info", name});
    }

    Outcome run() {
        if (!dir.exists("case.ctl")) dir.write_control("case.ctl", ctl);
        if (write_script && !dir.exists("run.txt")) dir.write("run.txt", script);
        return spawn({"prog/tracknoise", "--threads", "1", "run.txt"});
    }

    // The real program as a child, with argument 0 as given and the case's folder as its working
    // folder; standard output and error go to files. A run that takes two minutes is a hang.
    Outcome spawn(const std::vector<std::string>& args) const {
        const std::string out = p("stdout.txt");
        const std::string err = p("stderr.txt");
        const std::string folder = dir.dir().string();
        const pid_t pid = ::fork();
        if (pid == 0) {
            const int o = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            const int e = ::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            if (o < 0 || e < 0 || ::chdir(folder.c_str()) != 0) ::_exit(127);
            ::dup2(o, 1);
            ::dup2(e, 2);
            ::unsetenv("TRACKNOISE_NORD2000");
            std::vector<char*> argv;
            for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
            argv.push_back(nullptr);
            ::execv(kProgram.c_str(), argv.data());
            ::_exit(127);
        }
        Outcome r;
        int status = 0;
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(120);
        while (::waitpid(pid, &status, WNOHANG) == 0) {
            if (std::chrono::steady_clock::now() > limit) {
                ::kill(pid, SIGKILL);
                ::waitpid(pid, &status, 0);
                r.hung = true;
                break;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        r.exited = WIFEXITED(status);
        r.code = r.exited ? WEXITSTATUS(status) : -1;
        r.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
        r.out = dir.read("stdout.txt");
        r.err = dir.read("stderr.txt");
        return r;
    }
};

std::string show(const Outcome& o) {
    return "exit " + std::to_string(o.code) + (o.signal ? ", signal " + std::to_string(o.signal) : "") +
           (o.hung ? ", hung" : "") + "\n--- stdout\n" + o.out.substr(0, 1500) + "\n--- stderr\n" + o.err.substr(0, 1500);
}

// What the program must do with a broken case: stop, with standard error beginning
// "tracknoise: NAME" and saying `what`; or, with an empty NAME, end normally, and pass `check`.
struct Breakage {
    const char* how;
    std::function<void(Case&)> brk;
    std::string name;
    std::string what;
    std::function<void(const Case&)> check = nullptr;
};

void check_all(const std::vector<Breakage>& cases) {
    for (const Breakage& b : cases) {
        SCOPED_TRACE(b.how);
        Case c;
        b.brk(c);
        const Outcome o = c.run();
        ASSERT_FALSE(o.hung) << show(o);
        ASSERT_TRUE(o.exited) << show(o);
        if (b.name.empty()) {
            EXPECT_EQ(o.code, 0) << show(o);
            EXPECT_EQ(o.err, "") << show(o);
            if (b.check) b.check(c);
        } else {
            EXPECT_NE(o.code, 0) << show(o);
            EXPECT_EQ(o.err.rfind("tracknoise: " + b.name, 0), 0u) << show(o);
            EXPECT_NE(o.err.find(b.what), std::string::npos) << "expected: " << b.what << "\n" << show(o);
        }
    }
}

// The receivers named in the run's result file.
std::function<void(const Case&)> sites_are(const std::vector<std::string>& names) {
    return [names](const Case& c) {
        std::vector<std::string> found;
        for (const std::string& line : lines_of(c.dir.read("out.tis"))) {
            if (line.rfind("Site: ", 0) == 0) {
                std::string n = line.substr(6);
                while (!n.empty() && n.back() == ' ') n.pop_back();
                found.push_back(n);
            }
        }
        EXPECT_EQ(found, names);
    };
}

}  // namespace

TEST(BrokenInputs, RunScript) {
    check_all({
        {"unbroken", [](Case&) {}, "", "", sites_are({"Reference_Point"})},
        {"missing", [](Case& c) { c.write_script = false; }, "run.txt", "cannot open the file: No such file"},
        {"a folder", [](Case& c) { c.folder("run.txt"); }, "run.txt", "it is a folder"},
        {"empty: a normal end with nothing done", [](Case& c) { c.script.clear(); }, "", "",
         [](const Case& c) { EXPECT_FALSE(c.dir.exists("out.tis")); }},
        {"ends inside the block of a site run", [](Case& c) { c.script.resize(c.script.find("min:")); }, "run.txt:7",
         "unexpected end of file, expected the minutes of the time offset"},
        {"text where the hours belong", [](Case& c) { c.script.replace(c.script.find("hrs:    0"), 9, "hrs: noon"); },
         "run.txt:6", "columns 6-9: expected an integer"},
        {"a number where the option belongs", [](Case& c) { c.script.replace(c.script.find("opt: no"), 7, "opt: 42"); },
         "run.txt:5", "the output option of \"site\" is '42  '"},
        {"text where a grid count belongs",
         [](Case& c) {
             c.script = "open\ncase.ctl\ngrid\ng\nii:  abc\nii:    1   3\njj:    2\njj:    1   2\nopt: no\n"
                        "hrs:    0\nmin:    0\nsec:  0.000\n";
         },
         "run.txt:5", "columns 5-8: expected an integer"},
        {"a control file name of 10 000 characters, cut at 255", [](Case& c) { c.script = "open\n" + kLong + "\nstop\n"; },
         kLong.substr(0, 255) + ": cannot open the file", ""},
        {"a comment line of 10 000 characters", [](Case& c) { c.script = kLong + "\n" + c.script; }, "", "",
         sites_are({"Reference_Point"})},
        {"CR LF line ends", [](Case& c) { c.script = crlf(c.script); }, "", "", sites_are({"Reference_Point"})},
        {"a run before any open", [](Case& c) { c.script = Case::site_block("early"); }, "run.txt:1",
         "\"site\" before any \"open\""},
    });
}

TEST(BrokenInputs, ControlFile) {
    check_all({
        {"missing", [](Case& c) { c.script = "open\nnothing.ctl\nstop\n"; }, "nothing.ctl", "cannot open the file"},
        {"a folder", [](Case& c) { c.folder("case.ctl"); }, "case.ctl", "it is a folder"},
        {"empty", [](Case& c) { c.write("case.ctl", ""); }, "case.ctl:1",
         "unexpected end of file, expected the terrain file on line 1"},
        {"three lines", [](Case& c) { c.ctl.resize(3); }, "case.ctl:4",
         "unexpected end of file, expected the trajectory file on line 4"},
        {"text where the number of line 8 belongs", [](Case& c) { c.ctl.push_back("thirty"); }, "case.ctl:8",
         "expected a real number, found 'thirty'"},
        {"a number where the terrain file belongs", [](Case& c) { c.ctl[0] = "12345"; }, "12345",
         "cannot open the file"},
        {"a terrain name of 10 000 characters, cut at 255", [](Case& c) { c.ctl[0] = kLong; },
         kLong.substr(0, 255) + ": cannot open the file", ""},
        {"CR LF line ends", [](Case& c) {
             c.ambient("-");
             c.write_control_crlf();
         }, "", "", sites_are({"Reference_Point"})},
    });
}

TEST(BrokenInputs, DirectoriesFileFallsBackToTheDefaultDistance) {
    const std::string ini = "prog/rnd/directories.ini";
    check_all({
        {"missing", [ini](Case& c) { c.remove(ini); }, "", ""},
        {"empty", [ini](Case& c) { c.write(ini, ""); }, "", ""},
        {"text where the distance belongs", [ini](Case& c) { c.write(ini, "Max\nfar\n"); }, "", ""},
        {"a number where the key belongs", [ini](Case& c) { c.write(ini, "25000\nMax\n"); }, "", ""},
        {"a line of 10 000 characters", [ini](Case& c) { c.write(ini, kLong + "\n1\nMax\n25000\n"); }, "", ""},
        {"CR LF line ends", [ini](Case& c) { c.write(ini, "Max\r\n25000\r\n"); }, "", ""},
        {"a folder: no file to read is a stop", [ini](Case& c) { c.folder(ini); }, ini, "it is a folder"},
    });
}

TEST(BrokenInputs, TerrainGrid) {
    check_all({
        {"missing", [](Case& c) { c.remove("terrain.grd"); }, "terrain.grd", "cannot open the file"},
        {"a folder", [](Case& c) { c.folder("terrain.grd"); }, "terrain.grd", "it is a folder"},
        {"empty", [](Case& c) { c.write("terrain.grd", ""); }, "terrain.grd: byte 0", "unexpected end of file"},
        {"cut inside the heights", [](Case& c) { c.cut("terrain.grd", 120); }, "terrain.grd: byte",
         "unexpected end of file"},
        {"cut inside the head", [](Case& c) { c.cut("terrain.grd", 30); }, "terrain.grd: byte",
         "unexpected end of file"},
        {"a text in its place", [](Case& c) { c.write("terrain.grd", "ncols 5\nnrows 5\n" + kLong + "\n"); },
         "terrain.grd: byte", ""},
    });
}

TEST(BrokenInputs, TerrainRaster) {
    auto raster = [](Case& c) {
        c.ctl[0] = "terrain.flt";
        c.write("terrain.hdr", kRasterHeader);
        c.write("terrain.flt", nine(10.0f));
    };
    check_all({
        {"unbroken", raster, "", "", sites_are({"Reference_Point"})},
        {"header missing", [&](Case& c) { raster(c); c.remove("terrain.hdr"); }, "terrain.hdr", "cannot open the file"},
        {"header empty", [&](Case& c) { raster(c); c.write("terrain.hdr", ""); }, "terrain.hdr", "end of file"},
        {"header cut after four lines", [&](Case& c) { raster(c); c.cut("terrain.hdr", 55); }, "terrain.hdr",
         "end of file"},
        {"text where the columns belong", [&](Case& c) { raster(c); c.replace("terrain.hdr", "ncols 3", "ncols three"); },
         "terrain.hdr:1", "expected an integer, found 'three'"},
        {"no columns", [&](Case& c) { raster(c); c.replace("terrain.hdr", "ncols 3", "ncols 0"); }, "terrain.hdr:1",
         "expected a positive number of columns"},
        {"a number where the byte order belongs: little-endian",
         [&](Case& c) { raster(c); c.replace("terrain.hdr", "LSBFIRST", "12345"); }, "", ""},
        {"a keyword of 10 000 characters", [&](Case& c) { raster(c); c.replace("terrain.hdr", "ncols", kLong); }, "", ""},
        {"CR LF line ends", [&](Case& c) { raster(c); c.to_crlf("terrain.hdr"); }, "", ""},
        {"raster cut short", [&](Case& c) { raster(c); c.cut("terrain.flt", 30); }, "terrain.flt: byte 30",
         "unexpected end of file, expected 3 by 3 floats"},
        {"raster missing", [&](Case& c) { raster(c); c.remove("terrain.flt"); }, "terrain.flt", "cannot open the file"},
        {"raster a folder", [&](Case& c) { raster(c); c.folder("terrain.flt"); }, "terrain.flt", "it is a folder"},
    });
}

TEST(BrokenInputs, GroundGridAndLandCover) {
    const std::string table = "prog/rnd/GroundImpedance.csv";
    auto imp = [](Case& c) {
        c.ctl[1] = "ground.imp";
        c.dir.write_grid("ground.imp", "FLOW", 5, 5, 100.0f, 500000.0f, 4000000.0f, 11, [](int, int) { return 200.0f; });
    };
    auto cover = [](Case& c) {
        c.ctl[1] = "cover.flt";
        c.write("cover.hdr", kCoverHeader);
        c.write("cover.prj", kCoverPrj);
        c.write("cover.flt", nine(21.0f));
    };
    check_all({
        {"ground grid unbroken", imp, "", ""},
        {"ground grid missing: off", [&](Case& c) { imp(c); c.remove("ground.imp"); }, "", ""},
        {"ground grid empty", [&](Case& c) { imp(c); c.write("ground.imp", ""); }, "ground.imp: byte 0",
         "unexpected end of file"},
        {"ground grid cut short", [&](Case& c) { imp(c); c.cut("ground.imp", 110); }, "ground.imp: byte",
         "unexpected end of file"},
        {"ground grid a folder", [&](Case& c) { imp(c); c.folder("ground.imp"); }, "ground.imp", "it is a folder"},
        {"ground file of no known kind", [](Case& c) { c.ctl[1] = "track.trj"; }, "track.trj",
         "neither a \".imp\" ground grid nor a \".flt\" land cover raster"},
        {"land cover unbroken", cover, "", ""},
        {"land cover with CR LF line ends",
         [&](Case& c) { cover(c); c.to_crlf("cover.hdr"); c.to_crlf("cover.prj"); c.to_crlf(table); }, "", ""},
        {"projection file missing", [&](Case& c) { cover(c); c.remove("cover.prj"); }, "cover.prj",
         "cannot open the file"},
        {"projection file cut after five lines", [&](Case& c) { cover(c); c.cut("cover.prj", 90); }, "cover.prj",
         "unexpected end of file"},
        {"text where the angles belong",
         [&](Case& c) { cover(c); c.replace("cover.prj", "  29  30  0.0", "  north"); }, "cover.prj:9",
         "expected a real number, found 'north'"},
        {"a byte order of no kind", [&](Case& c) { cover(c); c.replace("cover.hdr", "LSB", "XYZ"); }, "cover.hdr:7",
         "expected the byte order LSB or MSB, found 'XYZ'"},
        {"a class beyond 200", [&](Case& c) { cover(c); c.write("cover.flt", nine(300.0f)); }, "cover.flt: byte",
         "expected a land cover class from 1 to 200"},
        {"raster cut short", [&](Case& c) { cover(c); c.cut("cover.flt", 7); }, "cover.flt: byte",
         "unexpected end of file"},
        {"class table missing", [&](Case& c) { cover(c); c.remove(table); }, table, "cannot open the file"},
        {"class table naming class 999", [&](Case& c) { cover(c); c.write(table, "heading\n999,20\n"); },
         table + ":2", "class 999 is outside 1 to 200"},
    });
}

TEST(BrokenInputs, SiteFilesFallBackToTheReferenceReceiver) {
    auto sit = [](Case& c) {
        c.ctl[2] = "sites.sit";
        c.write("sites.sit", kSit);
    };
    auto list = [](Case& c) {
        c.ctl[2] = "sites.txt";
        c.write("sites.txt", kSiteList);
    };
    check_all({
        {".sit unbroken", sit, "", "", sites_are({"North", "East"})},
        {".sit missing: the reference receiver", [&](Case& c) { sit(c); c.remove("sites.sit"); }, "", "",
         sites_are({"Reference_Point"})},
        {".sit with text where a number belongs",
         [&](Case& c) { sit(c); c.replace("sites.sit", "4000300.0", "north"); }, "", "", sites_are({"Reference_Point"})},
        {".sit with text where the count belongs", [&](Case& c) { sit(c); c.write("sites.sit", "0\ntwo\n"); }, "", "",
         sites_are({"Reference_Point"})},
        {".sit empty: no receivers", [&](Case& c) { sit(c); c.write("sites.sit", ""); }, "", "", sites_are({})},
        {".sit cut inside its second site: it keeps what it held, and the run names it",
         [&](Case& c) { sit(c); c.cut("sites.sit", 45); }, "", "", sites_are({"North", "Site002"})},
        {".sit with a number where the name belongs",
         [&](Case& c) { sit(c); c.replace("sites.sit", "'North'", "12345"); }, "", "", sites_are({"12345", "East"})},
        {".sit with a name of 10 000 characters, cut at 64",
         [&](Case& c) { sit(c); c.replace("sites.sit", "'North'", kLong); }, "", "",
         sites_are({kLong.substr(0, 64), "East"})},
        {".sit with CR LF line ends", [&](Case& c) { sit(c); c.to_crlf("sites.sit"); }, "", "",
         sites_are({"North", "East"})},
        {".sit with 1001 sites", [&](Case& c) {
             sit(c);
             std::string s = "0\n1001\n";
             for (int k = 0; k < 1001; ++k) s += "500100.0 4000100.0 4.0 s\n";
             c.write("sites.sit", s);
         }, "sites.sit:2", "more than 1000 receivers"},
        {".sit a folder", [&](Case& c) { sit(c); c.folder("sites.sit"); }, "sites.sit", "it is a folder"},
        {"list unbroken", list, "", "", sites_are({"North", "East"})},
        {"list with text in its first site", [&](Case& c) { list(c); c.replace("sites.txt", "4000100.0", "north"); },
         "", "", sites_are({"Reference_Point"})},
        {"list with text in its second site: the first stands",
         [&](Case& c) { list(c); c.replace("sites.txt", "4000300.0", "north"); }, "", "", sites_are({"North"})},
        {"list of its head line alone: no receivers", [&](Case& c) { list(c); c.write("sites.txt", "x y z name\n"); },
         "", "", sites_are({})},
        {"list with CR LF line ends", [&](Case& c) { list(c); c.to_crlf("sites.txt"); }, "", "",
         sites_are({"North", "East"})},
    });
}

// Found by fuzzing the site files: a negative count went on into the count of a table's records,
// and a grid block whose columns run backwards did the same: the .dbf declared -357 records.
TEST(BrokenInputs, NegativeCountsGiveATableOfNoRecords) {
    auto records = [](const Case& c, const std::string& name) {
        const std::string dbf = c.dir.read(name);
        std::int32_t n = -1;
        if (dbf.size() >= 8) std::memcpy(&n, dbf.data() + 4, 4);
        return n;
    };
    const std::string table_run = "opt: yes\nhrs:    0\nmin:    0\nsec:  0.000\n";
    check_all({
        {".sit with counts of -3 and -7",
         [&](Case& c) {
             c.ctl[2] = "sites.sit";
             c.write("sites.sit", "-3\n-7\n500100.0 4000100.0 4.0 'Unread'\n");
             c.script = "open\ncase.ctl\nsite\nt\n" + table_run;
         },
         "", "", [&](const Case& c) { EXPECT_EQ(records(c, "t.dbf"), 0); }},
        {"a grid block from column 3 back to column 1",
         [&](Case& c) { c.script = "open\ncase.ctl\ngrid\ng\nii:    3\nii:    3   1\njj:    2\njj:    1   2\n" + table_run; },
         "", "", [&](const Case& c) { EXPECT_EQ(records(c, "g.dbf"), 0); }},
        {"a grid block backwards in both directions: one receiver that no position filled",
         [&](Case& c) { c.script = "open\ncase.ctl\ngrid\ng\nii:    3\nii:    3   1\njj:    3\njj:    3   1\n" + table_run; },
         "", "", [&](const Case& c) { EXPECT_EQ(records(c, "g.dbf"), 3); }},
    });
}

TEST(BrokenInputs, AmbientFiles) {
    auto amb = [](Case& c) {
        c.ambient("ambient.txt");
        c.write("ambient.txt", kAmbient);
        c.write("classes.txt", kClasses);
    };
    check_all({
        {"unbroken", amb, "", "", sites_are({"Reference_Point"})},
        {"definition missing: off", [&](Case& c) { amb(c); c.remove("ambient.txt"); }, "", ""},
        {"definition empty", [&](Case& c) { amb(c); c.write("ambient.txt", ""); }, "ambient.txt:1",
         "unexpected end of file, expected the name of the ambient class raster"},
        {"definition a folder", [&](Case& c) { amb(c); c.folder("ambient.txt"); }, "ambient.txt", "it is a folder"},
        {"text where the class count belongs", [&](Case& c) { amb(c); c.replace("ambient.txt", "\n2\n", "\ntwo\n"); },
         "ambient.txt:2", "expected an integer, found 'two'"},
        {"the second class cut short", [&](Case& c) { amb(c); c.cut("ambient.txt", 40); }, "ambient.txt:4",
         "ambient class 2: a name, the A-weighted level and 24 band levels"},
        {"class raster missing", [&](Case& c) { amb(c); c.remove("classes.txt"); }, "classes.txt", "cannot open the file"},
        {"text in the class raster", [&](Case& c) { amb(c); c.replace("classes.txt", "1 1 2 2\n1 1", "1 1 2 2\nx 1"); },
         "classes.txt:8", "expected an integer, found 'x'"},
        {"class raster cut inside its head", [&](Case& c) { amb(c); c.cut("classes.txt", 30); }, "classes.txt",
         "unexpected end of file"},
        {"a class the definition does not have",
         [&](Case& c) { amb(c); c.replace("classes.txt", "1 1 2 2\n1 1 2 2\n1 1 2 2\n1 1 2 2", "9 9 9 9\n9 9 9 9\n9 9 9 9\n9 9 9 9"); },
         "classes.txt", "falls in ambient class 9"},
        {"CR LF line ends", [&](Case& c) { amb(c); c.to_crlf("ambient.txt"); c.to_crlf("classes.txt"); }, "", ""},
    });
}

TEST(BrokenInputs, Trajectory) {
    check_all({
        {"missing", [](Case& c) { c.remove("track.trj"); }, "track.trj", "the trajectory file does not exist"},
        {"a folder", [](Case& c) { c.folder("track.trj"); }, "track.trj", "it is a folder"},
        {"empty", [](Case& c) { c.write("track.trj", ""); }, "track.trj",
         "does not begin with \"Flight track\""},
        {"a number where line 1 belongs", [](Case& c) { c.replace("track.trj", "Flight track", "12345"); }, "track.trj",
         "does not begin with \"Flight track\""},
        {"cut after ten lines", [](Case& c) { c.cut("track.trj", 120); }, "track.trj:",
         "unexpected end of file, expected the 16 head lines of the trajectory"},
        {"text where the temperature belongs", [](Case& c) { c.replace("track.trj", " 59.0", " warm"); },
         "track.trj:13", "columns 7-11: expected a real number"},
        {"text in a point line: the line is passed over", [](Case& c) { c.replace("track.trj", "4000200.000", "north"); },
         "", ""},
        {"a head line of 10 000 characters", [](Case& c) { c.replace("track.trj", "head line 5", kLong); }, "", ""},
        {"CR LF line ends", [](Case& c) { c.to_crlf("track.trj"); }, "", "", sites_are({"Reference_Point"})},
    });
}

TEST(BrokenInputs, SourceListAndTables) {
    check_all({
        {"list missing", [](Case& c) { c.remove("src.lst"); }, "src.lst", "cannot open the file"},
        {"list a folder", [](Case& c) { c.folder("src.lst"); }, "src.lst", "it is a folder"},
        {"list empty", [](Case& c) { c.write("src.lst", ""); }, "src.lst:1", "unexpected end of file"},
        {"text where the band count belongs", [](Case& c) { c.replace("src.lst", "\n3\n1\n", "\nthree\n1\n"); },
         "src.lst:5", "expected an integer, found 'three'"},
        {"40 bands", [](Case& c) { c.replace("src.lst", "\n3\n1\n", "\n40\n1\n"); }, "src.lst:5",
         "the band count is 40"},
        {"a type of 10 000 characters", [](Case& c) { c.replace("src.lst", "Other", kLong); }, "", ""},
        {"CR LF line ends", [](Case& c) { c.to_crlf("src.lst"); c.to_crlf("t.tab"); }, "", "",
         sites_are({"Reference_Point"})},
        {"table missing", [](Case& c) { c.remove("t.tab"); }, "t.tab", "cannot open the file"},
        {"table cut short", [](Case& c) { c.cut("t.tab", 300); }, "t.tab:", "unexpected end of file"},
        {"text where a level belongs", [](Case& c) { c.replace("t.tab", " 71.0", " loud"); }, "t.tab:3",
         "columns 21-25: expected a real number"},
        {"no condition: the condition line is then no frequency",
         [](Case& c) { c.replace("src.lst", "\n3\n1\n", "\n3\n0\n"); }, "src.lst:7", "found 't.tab'"},
    });
}

TEST(BrokenInputs, HemisphereFile) {
    const fs::path seed = fs::path(TN_SOURCE_DIR) / "fuzz" / "corpus" / "hemisphere" / "small_classic.nc";
    auto hemi = [seed](Case& c) {
        c.ctl[6] = "jet.nc";
        fs::copy_file(seed, c.dir.dir() / "jet.nc");
    };
    check_all({
        {"unbroken", hemi, "", "", sites_are({"Reference_Point"})},
        {"missing", [&](Case& c) { c.ctl[6] = "jet.nc"; }, "jet.nc", "hemisphere file not found"},
        {"empty", [&](Case& c) { hemi(c); c.write("jet.nc", ""); }, "jet.nc", "not a readable netCDF file"},
        {"cut inside its head", [&](Case& c) { hemi(c); c.cut("jet.nc", 100); }, "jet.nc", "not a readable netCDF file"},
        {"cut inside its levels", [&](Case& c) { hemi(c); c.cut("jet.nc", 450); }, "jet.nc",
         "not a readable netCDF file (the data of variable 'level' reach byte"},
        {"a text in its place", [&](Case& c) { hemi(c); c.write("jet.nc", "netcdf jet {\n" + kLong + "\n}\n"); },
         "jet.nc", "not a readable netCDF file"},
        {"a folder", [&](Case& c) { hemi(c); c.folder("jet.nc"); }, "jet.nc", "not a readable netCDF file"},
    });
}

TEST(BrokenInputs, WeatherFile) {
    auto wx = [](Case& c, const std::string& text) {
        c.ctl[4] = "wx.txt";
        c.write("wx.txt", text);
    };
    const std::string profile = std::string(kProfileHead) + kProfileLevel + std::string(80, ' ') + "\n";
    check_all({
        {"missing: off", [](Case& c) { c.ctl[4] = "wx.txt"; }, "", ""},
        {"a folder", [&](Case& c) { wx(c, ""); c.folder("wx.txt"); }, "wx.txt", "it is a folder"},
        {"empty", [&](Case& c) { wx(c, ""); }, "wx.txt:1", "unexpected end of file, expected line 1 of the weather file"},
        {"profile cut before its blank label", [&](Case& c) { wx(c, std::string(kProfileHead) + kProfileLevel); },
         "wx.txt:9", "unexpected end of file"},
        {"text where a temperature belongs", [&](Case& c) { wx(c, profile); c.replace("wx.txt", "  20.00", "   warm"); },
         "wx.txt:8", "columns 9-15: expected a real number"},
        {"text among the single parameters", [&](Case& c) { wx(c, kWeather); c.replace("wx.txt", "10.0", "steep"); },
         "wx.txt:3", "expected a real number, found 'steep'"},
        {"single parameters cut short", [&](Case& c) { wx(c, kWeather); c.cut("wx.txt", 60); }, "wx.txt",
         "end of file"},
        {"a line 1 of 10 000 characters is a profile head", [&](Case& c) { wx(c, kLong + "\n"); }, "wx.txt:2",
         "unexpected end of file"},
        // Read in full: the stop is then for the missing library, still naming the weather file.
        {"CR LF line ends", [&](Case& c) { wx(c, crlf(kWeather)); }, "wx.txt", "selects the Nord2000 propagation model"},
        {"a profile with CR LF line ends", [&](Case& c) { wx(c, crlf(profile)); }, "wx.txt",
         "selects the Nord2000 propagation model"},
    });
}

TEST(BrokenInputs, NordParameterFile) {
    auto nord = [](Case& c, const std::string& text) {
        c.ctl[5] = "nord.txt";
        c.write("nord.txt", text);
    };
    check_all({
        {"unbroken", [&](Case& c) { nord(c, kNord); }, "", ""},
        {"missing: off", [](Case& c) { c.ctl[5] = "nord.txt"; }, "", ""},
        {"a folder", [&](Case& c) { nord(c, ""); c.folder("nord.txt"); }, "nord.txt", "it is a folder"},
        {"empty", [&](Case& c) { nord(c, ""); }, "nord.txt:1", "unexpected end of file"},
        {"cut inside line 3", [&](Case& c) { nord(c, kNord); c.cut("nord.txt", 50); }, "nord.txt:3",
         "end of file, expected a real number (Nord2000 parameter 2"},
        {"two lines", [&](Case& c) { nord(c, kNord); c.cut("nord.txt", 46); }, "nord.txt:3",
         "unexpected end of file, expected Nord2000 parameter 2"},
        {"text where a parameter belongs", [&](Case& c) { nord(c, kNord); c.replace("nord.txt", "0.25", "some"); },
         "nord.txt:3", "expected a real number, found 'some'"},
        {"a line of 10 000 characters behind the value",
         [&](Case& c) { nord(c, kNord); c.replace("nord.txt", "0.25", "0.25 " + kLong); }, "", ""},
        {"CR LF line ends", [&](Case& c) { nord(c, crlf(kNord)); }, "", ""},
    });
}
