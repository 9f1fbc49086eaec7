// A receiver's computed history as compact bytes, for handing it from one process to another.
//
// The bytes carry every field of ReceiverHistory exactly: floats and doubles by their bit patterns
// (little-endian), integers as variable-length numbers (7 bits a byte, signed ones zigzag-coded),
// the name without its trailing blanks. The 35 integer columns of a point (Outrow and M) are
// written as differences from the point before (-999 and 0 before the first), as neighbouring
// points of a flight differ little: a point takes some 40 bytes where the record holds 148. The
// bytes are meant for processes of one run on machines of one kind; they are no file format.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "results/history.h"

namespace tn {

// Unsigned and zigzag-coded signed variable-length numbers, appended to `out`.
void put_varint(std::string& out, std::uint64_t v);
void put_signed(std::string& out, std::int64_t v);

// Reads what put_varint/put_signed wrote at `pos`, moving `pos` past it. False when the bytes end
// first or the number runs over 64 bits (pos is then left anywhere).
bool get_varint(std::string_view in, std::size_t& pos, std::uint64_t& v);
bool get_signed(std::string_view in, std::size_t& pos, std::int64_t& v);

// Appends the history to `out`.
void encode_history(const ReceiverHistory& h, std::string& out);

// Reads one history at `pos` into `h` (its point storage is reused), moving `pos` past it. False
// when the bytes are cut short or malformed.
bool decode_history(std::string_view in, std::size_t& pos, ReceiverHistory& h);

}  // namespace tn
