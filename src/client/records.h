// The event records. A record keeps the arguments of the call that brought it, in the
// call's order and with its types: its field list is the argument list of its row in the
// events or database table, so the unpacking, the stored record and the pop functions all
// follow that one description. Fields are numbered from 1, as in docs/events.md.
#pragma once
#include <cstddef>
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

template <short Code, class Fields>
class TRecord;

template <short Code, class... F>
class TRecord<Code, std::tuple<F...>> : public CEvent {
public:
    static constexpr short kCode = Code;
    static constexpr std::size_t kFields = sizeof...(F);
    template <std::size_t N>
    using FieldType = std::tuple_element_t<N - 1, std::tuple<F...>>;

    explicit TRecord(const F&... f) : _fields(f...) {}
    short Type() const override { return Code; }
    template <std::size_t N>
    const FieldType<N>& Field() const { return std::get<N - 1>(_fields); }

private:
    std::tuple<F...> _fields;
};

// Record, type code, and the row whose argument list is the record's field list. The older
// calls 13 and 14 of the events table produce the records of rows 27 and 17.
#define KV_EVENT_RECORDS(X)                        \
    X(CPumpEvent, 1, PumpEvent)                    \
    X(CDeliveryEvent, 2, DeliveryEvent)            \
    X(CServerEvent, 3, ServerEvent)                \
    X(CClientEvent, 4, ClientEvent)                \
    X(CDBLogEvent, 5, LogEvent)                    \
    X(CLogDelivery, 6, LogDelivery)                \
    X(CClearDelivery, 7, ClearDelivery)            \
    X(CStackDelivery, 8, StackDelivery)            \
    X(CHoseETotals, 9, ProcessHoseETotals)         \
    X(CDBTrigger, 10, DBTrigger)                   \
    X(CAttendantLogonEvent, 11, AttendantLogon)    \
    X(CAttendantLogoffEvent, 12, AttendantLogoff)  \
    X(CDBTankStatus, 13, LogTankStatus)            \
    X(CZeroDeliveryEvent, 17, ZeroDeliveryEvent)   \
    X(CZBPanIDEvent, 19, ZBPanIDEvent)             \
    X(CCardReadEvent, 22, CardReadEvent)           \
    X(CZB2GStatusEvent, 23, ZB2GStatusEvent)       \
    X(CLogEventEvent, 24, LogEventEvent)           \
    X(CSaleItemEvent, 25, SaleItemEvent)           \
    X(CKVOdoEvent, 26, KVOdoEvent)                 \
    X(CKVTermPromptEvent, 27, KVTermPromptEvent)

#define KV_RECORD_TYPE(Record, Code, Row) using Record = TRecord<Code, kvev::Row##Fields>;
KV_EVENT_RECORDS(KV_RECORD_TYPE)
#undef KV_RECORD_TYPE

static_assert(CPumpEvent::kFields == 43 && CDeliveryEvent::kFields == 44 && CDBTankStatus::kFields == 19 &&
              CHoseETotals::kFields == 15 && CSaleItemEvent::kFields == 33 && CKVOdoEvent::kFields == 24);
