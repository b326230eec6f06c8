// The format that each row prints with when none is given. The catalogue, and the print and scan
// functions that meet a null format or one that does not parse, take it from here. They are part of
// stored schemas and never change.
#pragma once

namespace kv::default_format {

inline constexpr char kCharacter[] = "%c";
inline constexpr char kShort[] = "%hd";
inline constexpr char kWord[] = "%hu";
inline constexpr char kLong[] = "%ld";
inline constexpr char kDword[] = "%lu";
inline constexpr char kBlockId[] = "#%lu";
inline constexpr char kInt[] = "%d";
inline constexpr char kUnsigned[] = "%u";
inline constexpr char kEightByte[] = "%I64d";
inline constexpr char kUnsignedEightByte[] = "%I64u";
inline constexpr char kFloating[] = "%.17g";

inline constexpr char kString[] = "%s";
inline constexpr char kBlob[] = "[BLOB,len=%L]";
inline constexpr char kInt64[] = "%S";
inline constexpr char kNone[] = "noop";  // of rows whose text has but one form

inline constexpr char kDate[] = "%a %e.%b %Y";
inline constexpr char kTime[] = "%I:%M:%S %p";
inline constexpr char kDateTime[] = "%a %e.%b %Y %I:%M:%S %p";
inline constexpr char kDateTimeN[] = "%X";
inline constexpr char kTimeSpan[] = "%V";
inline constexpr char kOdmgDate[] = "%a %b %e";
inline constexpr char kOdmgTimestamp[] = "%a %b %e %I:%M:%S %p";
inline constexpr char kInterval[] = "%e days, %I hours, %M minutes, %S seconds";

inline constexpr char kObjId[] = "(%H-%L#%B)";
inline constexpr char kClassId[] = "(%Cv%V)";
inline constexpr char kRef[] = "(%D:%H-%L#%B, %C)";  // the class's own default is another one

}  // namespace kv::default_format
