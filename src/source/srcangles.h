// Emission geometry of a moving source towards a receiver.
#pragma once

namespace tn {

// src, rcv: x, y (metres, the run's UTM frame) and height above ground (metres); hs, hr: ground
// heights under the source and the receiver (metres). Heading: compass degrees (0 along +y, 90
// along +x); Climb: degrees above the horizontal; Bank: degrees, added to the azimuth.
//
// Gives, in double precision with these roundings:
//   Rslant     float, the slant distance in metres; the divisions below use this rounded value.
//   Polar      float, radians: the angle between the direction of travel and the line to the
//              receiver, 0 straight ahead, pi straight behind.
//   Azimuth    float, degrees: the angle about the travel axis from the downward normal of the
//              flight path (0 below, 180 above), positive for a receiver on the right of the path,
//              negative on the left, plus Bank. Straight ahead (Polar 0) it is Bank.
//   Elevation  float, radians, asin in single precision: +90 degrees for a receiver straight
//              below the source and, deliberately, also straight above it.
// The degree-to-radian factor is the float 0.0174532924 widened (0.01745329238474369), so Heading
// 0 is not exactly along +y: a receiver straight ahead then gets a Polar of about 1.5e-8 radians
// rather than 0, and an Azimuth of -90 + Bank (the azimuth is degenerate at the pole anyway).
// Source and receiver at one point give a NaN Polar and Azimuth.
void SRCANGLES(const float src[3], const float rcv[3], float hs, float hr, float Heading, float Climb,
               float Bank, float& Rslant, float& Polar, float& Azimuth, float& Elevation);

}  // namespace tn
