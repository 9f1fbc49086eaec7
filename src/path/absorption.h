// Absorption of sound in air: pure-tone attenuation at each band's centre frequency.
//
// The relaxation equations are those of ISO 9613-1 (classical term, oxygen and nitrogen
// vibrational relaxation, pure tone at the stated frequency, no band averaging). The saturation
// vapour pressure takes the form of ANSI S1.26 with the triple-point temperature 273.16 K, with two
// deliberate departures kept below (HUMMOLAR). All arithmetic is single precision, in the order
// written in absorption.cpp; results depend on it at the last bit.
//
// Accuracy: within 0.3 % of ISO 9613-1's own equations from -20 to +30 degrees Celsius and 10 to
// 100 % humidity, within 0.6 % up to +50 degrees Celsius; the difference is the vapour pressure
// form. Within 0.1 % plus rounding of the published octave table (tests/path/absorption_test.cpp).
#pragma once

namespace tn {

// The two relaxation frequencies, Hz, that ABSCOEF keeps from a call with a humidity of zero or
// more to the following calls with a negative humidity. One per absorption run: ATMABS holds its
// own, so parallel runs do not share it.
struct RELAXFREQ {
    float FrO = 0.0f;   // oxygen
    float FrN = 0.0f;   // nitrogen
};

// Absdb[0 .. Nband-1] := absorption in dB per metre at Freq[0 .. Nband-1] (Hz), for air at
// Pressure (kPa, the program's 101.325), Tfahr (degrees Fahrenheit) and Rh (relative humidity,
// percent). The relaxation frequencies are worked out once, at the first band, and reused for the
// others. With Rh of zero or less, absorption is not computed at all (not even for dry air) and
// Absdb is all zeros.
void ATMABS(float Pressure, float Tfahr, float Rh, int Nband, const float* Freq, float* Absdb);

// Molar concentration of water vapour, percent, for Rh (percent), Pressure (kPa) and T (kelvin).
// Deliberate: the pressure ratio multiplies (ISO 9613-1 divides), and one exponent uses T / 273.16
// the other way up from ANSI S1.26; with Pressure at 101.325 the first makes no difference.
float HUMMOLAR(float Rh, float Pressure, float T);

// Absorption coefficient in nepers per metre at frequency f (Hz), for Pressure (kPa), T (kelvin)
// and h (molar concentration of water vapour, percent, from HUMMOLAR). With h of zero or more, or
// NaN, the relaxation frequencies are computed from h and stored in `relax`; with h negative (the
// mark -1.0) those already in `relax` are used, so a first call must have set them. T of zero
// kelvin or below is not guarded.
float ABSCOEF(float f, float Pressure, float T, float h, RELAXFREQ& relax);

}  // namespace tn
