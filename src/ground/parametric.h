// Closed-form fits of the ground effect: one broadband level difference per path, in dB.
//
// LEVEL (flat ground), UPVAL (a valley) and HILLPAR (a hill, with SIDEANG), selected by the ground
// model's "P" mode. Runs use the rigorous models; these are complete and take no part in a run.
// 32-bit real throughout, pi = 3.1415927, angles in radians unless stated, distances and heights in
// metres, levels in dB relative to free field. Gndtyp: 0 soft ground, 1 hard ground. The constants
// are those of the model's own empirical fits (47.74, 0.1992, 5.5162, 0.1055, ...), kept as written.
//
// LEVEL(Hs, Hr, d, Gndtyp, out): source and receiver heights, horizontal distance.
//   0 when Hs, Hr and d are all exactly 0, before any other test (even for a bad Gndtyp).
//   Hard: X = d atan2(Hs, d) atan2(Hr, d); 5 - 2.3 log10((47.74 X)^2 + 1) below X = 0.1055, else
//   3 - 2 log10((0.1992 X)^2 + 1). The two fits are not joined: about 1.73 dB just below
//   X = 0.1055 and 3.0 dB just above.
//   Soft: y = (log10(a1 a2) + 5.5162) (d + 1900)/2900 - 2 from the two elevation angles (a source
//   on the ground gives -2.15, a receiver on the ground takes the source's angle); -16 dB up to
//   y = -2.15, then 17 sin^2((pi/3.4)(y + 2.15)) - 16 below y = -0.5, then 2 - 1/(3 y + 2.5).
// UPVAL(Hs, Hr, D, Dv, V, Gndtyp, out): D the distance between the ends, Dv the distance to the
//   fold, V the fold angle. Soft ground with the fold near the specular point turns the geometry
//   into either plane (LEVEL on the turned geometry, or a blend of the two with a fold bonus);
//   otherwise LEVEL on the chord plus up to 3 dB growing with the fold angle up to
//   Vc = (12 - 3.33 log10 D) degrees.
// SIDEANG(x1, z1, x2, z2, x3, z3, h, out): a measure in square degrees of the side slope: the
//   product of atan2(h, t) and atan2(r sin e, t) times 57.29578^2, r = |P3 - P1|, e the angle
//   between P1->P3 and P1->P2 (of absolute differences), t = r cos e.
// HILLPAR(KeyPt, Hs, Hr, Gndtyp, out): the five key points of the path (source foot, low point,
//   crest, low point, receiver foot). A crest term from the path difference (-6 - 8 log10(60 Delta
//   + 1) when blocked, 5 log10(400 Delta + 1) - 6 when not), side and flank terms, and a ground term
//   from LEVEL or UPVAL; soft ground takes the smaller of crest-plus-terms and ground term. Settled
//   by this team where the fit left values unset: on a path that is not blocked the side term E is
//   0; on hard ground between crest terms A = -20 and -10 the blend factor is f = A/10 + 2, which
//   joins 3 dB at A = -20 and the ground term at A = -10.
//   Kept deliberately: in the one-sided ground case with the crest on the receiver's side of the
//   specular point, the distance to the lifted receiver multiplies two different differences,
//   (x1 - xq)(x1 - x4).
//
// A Gndtyp other than 0 or 1 stops the run in LEVEL and UPVAL (HILLPAR meets the stop through
// them): tn::RunError whose console text is, one line per '\n',
//   " Subroutine LEVEL Parameter Error\n Error in Gndtyp,<value> Must be 0 or 1\n"
//   " Subroutine UPVAL Parameter Error\n Error in Gndtyp=<value> Must be 0 or 1\n"
// (the comma in the one and the equals sign in the other are intended), where <value> is laid out
// as a list-directed write of a 4-byte integer prints it: a separating blank and the value right-
// justified in 11 columns, 12 characters in all ("           2", "          -1"). The message for
// standard error names the routine and the value.
#pragma once

#include "ground/xzpt.h"

namespace tn {

void LEVEL(float Hs, float Hr, float d, int Gndtyp, float& out);
void UPVAL(float Hs, float Hr, float D, float Dv, float V, int Gndtyp, float& out);
void SIDEANG(float x1, float z1, float x2, float z2, float x3, float z3, float h, float& out);
void HILLPAR(const XZPT KeyPt[5], float Hs, float Hr, int Gndtyp, float& out);

}  // namespace tn
