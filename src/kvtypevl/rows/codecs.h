// The members of every fixed type that has several, in stored order. Stored forms and sort keys
// are made of these lists; kvcore/inc draws them.
#pragma once

#include "kvbase/codec.h"
#include "kvboolean.h"
#include "kvdatime.h"
#include "kvint64.h"
#include "kvobjid.h"
#include "kvodmg.h"
#include "kvref.h"
#include "kvseal.h"

namespace kv {

using DateCodec = Codec<KvDate, At<&KvDate::year>, At<&KvDate::month>, At<&KvDate::day>>;
using TimeCodec = Codec<KvTime, At<&KvTime::hour>, At<&KvTime::minute>, At<&KvTime::second>>;

// The types that have a date and a time.
template <class T, class... More>
using DateAndTimeCodec =
    Codec<T, At<&T::date, &KvDate::year>, At<&T::date, &KvDate::month>, At<&T::date, &KvDate::day>,
          At<&T::time, &KvTime::hour>, At<&T::time, &KvTime::minute>, At<&T::time, &KvTime::second>,
          More...>;
using DateTimeCodec = DateAndTimeCodec<KvDateTime>;
template <class T>
using NanosecondCodec = DateAndTimeCodec<T, At<&T::nanosecond>>;

using OdmgDateCodec = Codec<d_Date, At<&d_Date::year>, At<&d_Date::month>, At<&d_Date::day>>;
using OdmgTimeCodec = Codec<d_Time, At<&d_Time::tzHour>, At<&d_Time::tzMinute>, At<&d_Time::hour>,
                            At<&d_Time::minute>, At<&d_Time::second>, At<&d_Time::hundredth>>;
using OdmgTimestampCodec =
    Codec<d_Timestamp, At<&d_Timestamp::date, &d_Date::year>,
          At<&d_Timestamp::date, &d_Date::month>, At<&d_Timestamp::date, &d_Date::day>,
          At<&d_Timestamp::time, &d_Time::tzHour>, At<&d_Timestamp::time, &d_Time::tzMinute>,
          At<&d_Timestamp::time, &d_Time::hour>, At<&d_Timestamp::time, &d_Time::minute>,
          At<&d_Timestamp::time, &d_Time::second>, At<&d_Timestamp::time, &d_Time::hundredth>>;
using IntervalCodec = Codec<d_Interval, At<&d_Interval::seconds>>;

using ObjIdCodec = Codec<KvObjId, At<&KvObjId::block>, At<&KvObjId::low>, At<&KvObjId::high>>;
using ClassIdCodec = Codec<KvClassId, At<&KvClassId::classNo>, At<&KvClassId::version>>;
// The stored form leaves the version out.
using RefCodec = Codec<KvRef, At<&KvRef::block>, At<&KvRef::low>, At<&KvRef::high>,
                       At<&KvRef::database>, At<&KvRef::classNo>>;

// Two words, each in the byte order of the format; the low one always comes first.
using Int64Codec = Codec<KvInt64, At<&KvInt64::low>, At<&KvInt64::high>>;
using BooleanCodec = Codec<KvBoolean, At<&KvBoolean::value>>;
// Most significant byte first in either byte order.
using SealCodec = Codec<KvSeal, HighestFirst<&KvSeal::high>, HighestFirst<&KvSeal::middle>,
                        HighestFirst<&KvSeal::low>>;

}  // namespace kv
