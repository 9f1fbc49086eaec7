// A point of the vertical plane through source and receiver.
#pragma once

namespace tn {

// x: metres along the path from the source foot; z: height in metres (terrain elevation, or the
// height of a source, receiver or image point in the same frame).
struct XZPT {
    float x = 0.0f;
    float z = 0.0f;
};

}  // namespace tn
