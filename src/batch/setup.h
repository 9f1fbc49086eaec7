// Case set-up: the control file and the case it names, built in a fixed order.
//
// Control file, one name per line in columns 1 to 255: 1 terrain, 2 ground, 3 receivers,
// 4 trajectory, 5 weather, 6 Nord2000 parameters, 7 noise source (lines 1 to 7 required); 8 one real
// number (read, used by nothing); 9 a name copied to the result headers; 10 the ambient class
// definition (lines 8 to 10 may be missing from the end). An entry whose file does not exist is
// off ("-" and "none" are the customary words) for lines 2, 3, 4, 5, 6 and 10.
//
// Order: control file; ambient classes; source and band layout; terrain; ground; receivers and
// their ambient classes; trajectory; weather and the model switch; absorption; distance limit;
// A-weights; Nord2000 parameters.
#pragma once

#include <string>

#include "batch/session.h"

namespace tn {

// Builds the case from s.Ctlfile. Returns only on success; any failure is a RunError.
void CASESETUP(Session& s);

// The steps of the set-up, in their order (each works on the session's case).
void read_control_file(Session& s);
void setup_ambient(Session& s);
void setup_source(Session& s);
void setup_terrain(Session& s);
void setup_ground(Session& s);
void setup_sites(Session& s);
void setup_trajectory(Session& s);
void setup_weather(Session& s);
void setup_nord_parameters(Session& s);

// Reads the value of the key "Max" from the directories file: pairs of lines, a key (its first
// three characters count) and its value. The first "Max" pair wins; without one, or with a value
// that cannot be read, or without the file, Maxdist is 18288.0 metres (60,000 feet). A value that
// cannot be read, and a limit of 0 or below, not a number or infinite (each taken as it stands),
// put one line naming the file, line and value into `warning` when it is given.
void READMAX(const Name255& Path, float& Maxdist, std::string* warning = nullptr);

// Stops the run when a receiver's ambient class is outside 1..Nclass of the case; `what` begins
// the message and is followed by the receiver's name and a closing quote.
void check_ambient_class(const SITEREC& r, const CaseState& cs, const char* what);

}  // namespace tn
