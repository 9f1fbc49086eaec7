// The trajectory of the moving source.
#pragma once

#include <vector>

#include "io/fixed_text.h"
#include "io/text_file.h"

namespace tn {

// One point of the trajectory. Positions in metres in the run's UTM frame; z is the altitude above
// the terrain's datum. Angles in degrees; Heading is a compass heading (0 along +y, 90 along +x).
struct TRAJPOINT {
    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;
    float Time = 0.0f;
    float Heading = 0.0f;
    float Climb = 0.0f;
    float Speed = 0.0f;
    float Power = 0.0f;
    float Bank = 0.0f;
    Name255 Srcname{"none"};
    bool Ptsrc = false;   // meaningful on the first record only: a source is named on every point
};

// Reads the points of a trajectory file into Traj[0 .. Npts-1].
//
// The caller has opened the file, found "Flight track" in columns 1-12 of line 1, counted the lines
// behind the 16 lines of head as Npts, rewound the file and given Traj exactly Npts records (the
// TRAJPOINT defaults: zeros, Srcname "none"). On return:
//   Tfahr  columns 7-11 of line 13 (F5.1), degrees Fahrenheit;
//   Rh     columns 8-12 of line 14 (F5.1), relative humidity in percent;
//   Traj   one record per point line, read free-format: Time, x, y, z, Heading, Climb, Speed,
//          Power, Bank, and, when Traj[0].Ptsrc is true, a quoted source name as a tenth item.
// The first point line is probed in its fixed layout (nine 15-column fields, a blank, a name from
// column 137) to decide whether the points name a source: only a second character 'C' (a quoted
// name on drive C:) or '/' (a quoted absolute path) in column 138 says so. Any other tag but two
// double quotes or two blanks makes the reading start one line earlier, at line 16 (see the .cpp).
// A point line with a bad number keeps the values read before it and leaves the rest as they
// were; the end of the file leaves the remaining records as they were. Xuser and Yuser are not
// read. Lines 13 and 14 unreadable, or a file shorter than 16 lines: RunError naming file and line.
void READTRAJ(float& Tfahr, float& Rh, int Npts, std::vector<TRAJPOINT>& Traj, float Xuser, float Yuser,
              TextFile& unit);

}  // namespace tn
