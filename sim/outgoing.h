// The calls kvsim makes on a client's events connection: one proxy per interface, built
// from the events and database tables.
#pragma once
#include "client/IDBTable.h"
#include "client/IEventsTable.h"
#include "rpc/method.h"

namespace sim {

class CEventsOut : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_EVENTS, "IEvents")
    KV_IEVENTS_TABLE(KV_METHOD)
};

class CDBOut : public CClientInterface {
public:
    using CClientInterface::CClientInterface;
    KV_INTERFACE(IF_DB, "IDB")
    KV_IDB_TABLE(KV_METHOD)
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
