#include "source/trajectory.h"

#include <string>
#include <string_view>

#include "io/errors.h"
#include "io/fixed_fields.h"
#include "io/list_input.h"

namespace tn {

namespace {

// The first point line read in the layout (9f15.3,1x,a2). End when there is no line; otherwise
// the two characters of columns 137-138, or two zero bytes when one of the nine fields is no number.
IoStatus probe_first_point(TextFile& unit, char tag[2]) {
    std::string_view rec;
    if (unit.next_record(rec) != IoStatus::Ok) return IoStatus::End;
    for (int k = 0; k < 9; ++k) {
        float scratch = 0.0f;
        if (!parse_real_field(field(rec, 15 * k + 1, 15 * k + 15), 3, scratch)) {
            tag[0] = '\0';   // the failed read never reached the tag, which keeps its zero bytes
            tag[1] = '\0';
            return IoStatus::Error;
        }
    }
    const std::string t = field(rec, 137, 138);   // a short line reads as blank-padded
    tag[0] = t[0];
    tag[1] = t[1];
    return IoStatus::Ok;
}

}  // namespace

void READTRAJ(float& Tfahr, float& Rh, int Npts, std::vector<TRAJPOINT>& Traj, float Xuser, float Yuser,
              TextFile& unit) {
    (void)Xuser;   // the grid's reference point is handed in but not used
    (void)Yuser;
    if (Npts > 0 && static_cast<std::size_t>(Npts) > Traj.size()) {
        throw file_error(unit.name(), 0,
                         "the trajectory array holds " + std::to_string(Traj.size()) + " points, " +
                             std::to_string(Npts) + " were counted");
    }
    bool ptsrc = true;
    if (!Traj.empty()) Traj[0].Ptsrc = true;

    unit.skip_or_fail(12, "the 12 head lines of the trajectory");
    std::string_view rec = unit.record_or_fail("line 13 with the temperature");
    Tfahr = read_real_columns(unit, rec, 7, 11, 1, "temperature in degrees Fahrenheit, format 6x,f5.1");
    rec = unit.record_or_fail("line 14 with the relative humidity");
    Rh = read_real_columns(unit, rec, 8, 12, 1, "relative humidity in percent, format 7x,f5.1");
    unit.skip_or_fail(2, "the column headings of lines 15 and 16");

    char tag[2] = {'\0', '\0'};
    if (probe_first_point(unit, tag) == IoStatus::End) return;   // no point line: Ptsrc stays true
    unit.backspace();   // a probe that failed on a field counts as a success: its tag is two zero bytes

    // Deliberate: only a 'C' (or '/') second says "a name on every point"; a quoted name on another
    // drive is not recognised, and its line goes with the step back below.
    if (tag[1] == 'C' || tag[1] == '/') {
        ptsrc = true;
    } else {
        ptsrc = false;
        const bool quotes = tag[0] == '"' && tag[1] == '"';
        const bool blanks = tag[0] == ' ' && tag[1] == ' ';
        // Deliberate: any other tag steps back to line 16, which is read as the first point, and
        // the last point line of the file is never reached.
        if (!quotes && !blanks) unit.backspace();
    }
    if (!Traj.empty()) Traj[0].Ptsrc = ptsrc;

    for (int i = 0; i < Npts; ++i) {
        TRAJPOINT& p = Traj[static_cast<std::size_t>(i)];
        IoStatus st;
        if (ptsrc) {
            // The name is read whole first: one that does not fit in 255 characters, or holds a
            // NUL byte, stops instead of naming another file.
            std::string name;
            st = list_read(unit, p.Time, p.x, p.y, p.z, p.Heading, p.Climb, p.Speed, p.Power, p.Bank, name);
            if (name.size() > Name255::size || name.find('\0') != std::string::npos) {
                throw file_error(unit.name(), unit.record_number(),
                                 "point " + std::to_string(i + 1) + ": the source name " +
                                     (name.size() > Name255::size
                                          ? "does not fit in 255 characters (it has " + std::to_string(name.size()) + ")"
                                          : std::string("holds a NUL byte")));
            }
            if (st == IoStatus::Ok && !name.empty()) p.Srcname = name;
        } else {
            st = list_read(unit, p.Time, p.x, p.y, p.z, p.Heading, p.Climb, p.Speed, p.Power, p.Bank);
        }
        if (st == IoStatus::End) return;   // the records behind stay as allocated
        // A line with a bad number is passed over: the items read before it stand.
        if (!ptsrc) p.Srcname = "none";
    }
}

}  // namespace tn
