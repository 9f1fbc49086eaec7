// One sample of a vertical path section.
#pragma once

namespace tn {

// d: metres along the line from the source; v: terrain height in metres, or the ground value
// (flow resistivity). A sample that was not taken holds v = -1000.0.
struct PROFPT {
    float d = 0.0f;
    float v = 0.0f;
};

// Samples per section: the run's two profile lengths are this constant.
inline constexpr int kProfileSamples = 100;
// Mark of a section sample that was not taken.
inline constexpr float kSampleNotTaken = -1000.0f;

}  // namespace tn
