// CIEvents: the events interface (2) that the server calls on the events connection; each
// call becomes an event record at the tail of the session's queue.
#pragma once
#include "client/IEventsTable.h"
#include "client/eventsif.h"

using CEvents = TNoObject<IF_EVENTS>;

// The older pump event (13) always carries fields 1 to 32, and 33 to 43 from newer servers.
struct KvEventsRows : TRows<IF_EVENTS, 13, 32> {
    static constexpr const char* kModule = "IEvents";
    KV_SERVER_DISPATCH(Dispatch, KV_IEVENTS_TABLE)
};

KV_EVENTS_INTERFACE(CIEvents, CEvents, KvEventsRows)
