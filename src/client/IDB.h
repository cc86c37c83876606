// CIDB: the database-events interface (1) that the server calls on the events connection;
// each call becomes an event record at the tail of the session's queue.
#pragma once
#include "client/IDBTable.h"
#include "client/eventsif.h"

using CDB = TNoObject<IF_DB>;

// Hose totals (17): the hose ID and the four totals always, the ten link fields when sent.
struct KvDBRows : TRows<IF_DB, 17, 5> {
    static constexpr const char* kModule = "IDB";
    KV_SERVER_DISPATCH(Dispatch, KV_IDB_TABLE)
};

KV_EVENTS_INTERFACE(CIDB, CDB, KvDBRows)
