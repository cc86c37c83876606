// The calls kvsim makes on a client's events connection: one proxy per interface, built
// from the events and database tables.
#pragma once
#include <tuple>
#include <utility>
#include "client/IDBTable.h"
#include "client/IEventsTable.h"
#include "rpc/method.h"

namespace sim {

// The leading N fields of a class row: the short form of a call whose tail is optional.
template <size_t N, class Sig>
struct Leading;
template <size_t N, class... W>
struct Leading<N, kv::Sig<THdr::Class, W...>> {
    template <size_t... I>
    static kv::Sig<THdr::Class, std::tuple_element_t<I, std::tuple<W...>>...> Of(std::index_sequence<I...>);
    using Sig = decltype(Of(std::make_index_sequence<N>()));
};

// Calls the row's short form with the first N of the full row's arguments.
#define KV_SHORT_FORM(Name, Row, N)                                                                  \
    using Name##Sig = Leading<N, Row##Sig>::Sig;                                                    \
    static constexpr MethodInfo Name##Info = Name##Sig::Info(kType, Row##Info.id, NOTE_ONEWAY, #Row, kModule); \
    template <class... A>                                                                            \
    long Name(A&&... a)                                                                              \
    {                                                                                                \
        auto all = std::forward_as_tuple(std::forward<A>(a)...);                                     \
        return [&]<size_t... I>(std::index_sequence<I...>) {                                         \
            return Name##Sig::Run(*this, Name##Info, std::get<I>(all)...);                           \
        }(std::make_index_sequence<N>());                                                            \
    }

class CEventsOut : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_EVENTS, "IEvents")
    KV_IEVENTS_TABLE(KV_METHOD)
    KV_SHORT_FORM(ShortPumpEvent, OldPumpEvent, 32)
};

class CDBOut : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_DB, "IDB")
    KV_IDB_TABLE(KV_METHOD)
    KV_SHORT_FORM(ShortHoseETotals, ProcessHoseETotals, 5)
};

// The two outgoing interfaces of one client; source 0 (the server), destination the client.
class COutgoing {
public:
    COutgoing(CProcess* process, long client) : events(process, nullptr, 0), db(process, nullptr, 0)
    {
        events.SetDestID(client);
        db.SetDestID(client);
    }
    CEventsOut events;
    CDBOut db;
};

}  // namespace sim
