// Results as a dBase III table with a memo companion: one ".dbf" record for each receiver and
// trajectory point, and one text block in the ".dbt" for each receiver.
//
// The .dbf: a 32-byte header (version 0x83, date, record count, header length 1217, record length
// 221), 37 field descriptors, 0x0D, then the records. Each record is 221 bytes as declared, its
// delete flag first; the writer puts that flag (0x20) at the end of the record before, so the
// header is followed by the first flag and every record by the next one. All binary numbers are
// little-endian; the record fields are ASCII text. The fields, in order:
//   DATA_POINT N10   the receiver's running number (not the trajectory point)
//   SITE_ID    C64   the receiver's name
//   TIME       N10.3 arrival time, seconds (a time of 1000000 s or more prints as asterisks)
//   FLAT, A_WEIGHT, and 32 band fields, N4: the integer row, tenths of a dB, four asterisks when a
//   value does not fit.
// Deliberate: the band field names skip 630 Hz and 6300 Hz and run on to 20000 Hz, and two are
// spelled "1H_Z250" and "2H_Z500". The columns hold the 32 bands from 10 Hz to 12500 Hz in order
// whatever their names say; tables read by other programs depend on these names as they stand.
//
// The .dbt: a 512-byte header, then one 523-byte block per receiver with no block alignment, and
// two 0x1A at the end. No field of the table points into it; it is a companion for the reader.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "io/files.h"
#include "io/fixed_text.h"
#include "results/history.h"

namespace tn {

// The two result files of a table run, open from DBFOPEN to DBFCLOSE; owned by the writer.
struct DbfFiles {
    OutFile dbf;
    OutFile dbt;
};

// The .dbt companion's name: Outname without trailing blanks up to and including its first '.',
// followed by "dbt". Deliberate: the first dot counts even when it stands in a folder's name
// ("runs.v2/a.dbf" gives "runs.dbt"), and a name without a dot gives "dbt".
std::string dbt_name(std::string_view Outname);

// Creates Outname and its .dbt companion and writes the .dbf header, the 37 field descriptors, the
// header's end 0x0D and the first record's delete flag, and the .dbt header. Nrec is the record
// count declared in the header: trajectory points times receivers, the receivers that will be
// passed over included, so that it may exceed the records written. The header's date is today()
// (SOURCE_DATE_EPOCH when set), its year byte (year + 48) modulo 256.
void DBFOPEN(int Nrec, const std::string& Outname, DbfFiles& files);

// Appends the receiver's 523-byte block to the .dbt: five lines of text, each padded with blanks to
// its width (64, 75, 64, 64, 64) and followed by 0x0D, then 187 zero bytes. Line 1 names Outname,
// line 2 the receiver, line 3 Npts, line 4 the receiver's latitude and longitude, line 5 the zone
// and the receiver's UTM easting and northing.
void SITEMEMO(const ReceiverHead& head, const std::string& Outname, int Npts, DbfFiles& files);

// One point's record, 221 bytes, appended to `records` for a caller that gathers a receiver's
// records and writes them in one operation: Siteidx, the receiver's Name, the arrival Time and the
// 34 integers of Outrow (flat level, A-weighted level, the 32 bands from 10 Hz to 12500 Hz), each
// field formatted on its own and appended as it stands, then the next record's delete flag.
void append_dbf_record(std::string& records, int Siteidx, const SiteName& Name, float Time,
                       std::span<const int, kRowColumns> Outrow);

// The end of a table run: one 0x1A to the .dbf, two to the .dbt; both files are closed and put in
// place together.
void DBFCLOSE(DbfFiles& files);

}  // namespace tn
