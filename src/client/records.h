// The event records. A record keeps the arguments of the call that brought it, in the
// call's order and with its types: its field list is the argument list of its row in the
// events or database table, so the unpacking, the stored record and the pop functions all
// follow that one description. Fields are numbered from 1, as in docs/events.md.
#pragma once
#include <cstddef>
#include <initializer_list>
#include <tuple>
#include <type_traits>
#include "client/IDBTable.h"
#include "client/IEventsTable.h"
#include "client/event.h"
#include "foundation/date.h"
#include "foundation/str.h"

namespace kvev {

// The argument list of every row as a tuple type: kvev::PumpEventFields ...
#define KV_ROW_FIELDS(Name, Id, Hdr, Notes, ...) using Name##Fields = std::tuple<__VA_ARGS__>;
KV_IEVENTS_TABLE(KV_ROW_FIELDS)
KV_IDB_TABLE(KV_ROW_FIELDS)
#undef KV_ROW_FIELDS

// The value of a field that an older call does not carry: -1 for numbers, the empty
// string, no date; fixed-point values as the call's rule says.
template <class T>
T Missing(const CCur& amount)
{
    if constexpr (std::is_same_v<T, CCur>)
        return amount;
    else if constexpr (std::is_same_v<T, CStr>)
        return CStr("");
    else if constexpr (std::is_same_v<T, CDate>)
        return CDate();
    else
        return T(-1);
}

}  // namespace kvev

namespace kvev {

// Field numbers as a bit set (bit N for field N).
constexpr unsigned long long Bits(std::initializer_list<int> fields)
{
    unsigned long long b = 0;
    for (int n : fields)
        b |= 1ULL << n;
    return b;
}

}  // namespace kvev

// Values: the long fields that hold a count, total, code, state or type rather than the ID
// or number of an object.
template <short Code, class Fields, unsigned long long Values>
class TRecord;

template <short Code, class... F, unsigned long long Values>
class TRecord<Code, std::tuple<F...>, Values> : public CEvent {
public:
    static constexpr short kCode = Code;
    static constexpr std::size_t kFields = sizeof...(F);
    template <std::size_t N>
    using FieldType = std::tuple_element_t<N - 1, std::tuple<F...>>;
    // Field N names an object: its output starts at -1, where other numbers start at 0.
    template <std::size_t N>
    static constexpr bool kIdentifier = std::is_same_v<FieldType<N>, long> && !((Values >> N) & 1);
    static_assert((Values & ~[] {
                      unsigned long long longs = 0;
                      int n = 0;
                      ((++n, longs |= std::is_same_v<F, long> ? 1ULL << n : 0), ...);
                      return longs;
                  }()) == 0,
                  "a value field that is not a long");

    explicit TRecord(const F&... f) : _fields(f...) {}
    short Type() const override { return Code; }
    template <std::size_t N>
    const FieldType<N>& Field() const { return std::get<N - 1>(_fields); }

private:
    std::tuple<F...> _fields;
};

// Record, type code, the row whose argument list is the record's field list, and the long
// fields that are values, not identifiers (docs/events.md). The older calls 13 and 14 of the
// events table produce the records of rows 27 and 17.
#define KV_EVENT_RECORDS(X)                                  \
    X(CPumpEvent, 1, PumpEvent, 7, 25, 39)                   \
    X(CDeliveryEvent, 2, DeliveryEvent, 24, 25)              \
    X(CServerEvent, 3, ServerEvent)                          \
    X(CClientEvent, 4, ClientEvent)                          \
    X(CDBLogEvent, 5, LogEvent, 2)                           \
    X(CLogDelivery, 6, LogDelivery, 11)                      \
    X(CClearDelivery, 7, ClearDelivery)                      \
    X(CStackDelivery, 8, StackDelivery)                      \
    X(CHoseETotals, 9, ProcessHoseETotals)                   \
    X(CDBTrigger, 10, DBTrigger, 2)                          \
    X(CAttendantLogonEvent, 11, AttendantLogon, 2)           \
    X(CAttendantLogoffEvent, 12, AttendantLogoff)            \
    X(CDBTankStatus, 13, LogTankStatus)                      \
    X(CZeroDeliveryEvent, 17, ZeroDeliveryEvent)             \
    X(CZBPanIDEvent, 19, ZBPanIDEvent)                       \
    X(CCardReadEvent, 22, CardReadEvent)                     \
    X(CZB2GStatusEvent, 23, ZB2GStatusEvent)                 \
    X(CLogEventEvent, 24, LogEventEvent, 4)                  \
    X(CSaleItemEvent, 25, SaleItemEvent)                     \
    X(CKVOdoEvent, 26, KVOdoEvent, 14, 17)                   \
    X(CKVTermPromptEvent, 27, KVTermPromptEvent)

#define KV_RECORD_TYPE(Record, Code, Row, ...) \
    using Record = TRecord<Code, kvev::Row##Fields, kvev::Bits({__VA_ARGS__})>;
KV_EVENT_RECORDS(KV_RECORD_TYPE)
#undef KV_RECORD_TYPE

static_assert(CPumpEvent::kFields == 43 && CDeliveryEvent::kFields == 44 && CDBTankStatus::kFields == 19 &&
              CHoseETotals::kFields == 15 && CSaleItemEvent::kFields == 33 && CKVOdoEvent::kFields == 24);
