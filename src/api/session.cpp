// The session family: logon, logoff, status, connection tests, server version, and the
// event-queue entry points that need no record types.
#include "api/frame.h"
#include "proxies/IClient.h"

namespace {

using namespace kvapi;

// A zero event handle is handed on as -1.
void* EventHandle(void* event) { return event ? event : reinterpret_cast<void*>(-1); }

// Steps shared by both logons once the new session exists: the stored log path, the
// logon line, the handshake and the version check. The session becomes visible only once
// it has passed them all; a failure destroys it.
long StartSession(CKVCLProcess** slot, CKVCLProcess* session, short clientType)
{
    if (pLogPath)
        session->Trace()->SetPathSizeArchives(*pLogPath, CKVCLProcess::kLogPathSize, CKVCLProcess::kLogPathArchives);
    session->Trace()->Log("Client %d logging on with type %02X", static_cast<int>(session->ClientID()),
                          static_cast<unsigned>(static_cast<unsigned short>(clientType)));
    long r = session->Logon();
    if (r == OK_RESULT)
        r = session->CheckVersions();
    if (r != OK_RESULT) {
        delete session;
        return r;
    }
    *slot = session;
    return OK_RESULT;
}

}  // namespace

extern "C" {

// Takes no lock and creates none; a session replaced here hands its client event type on.
KV_API long ClientLogonMT(CKVCLProcess** session, long clientId, short clientType, void* event, void* window,
                          unsigned int message)
{
    if (!session)
        return NO_SESSION_RESULT;
    long eventType = CKVCLProcess::kDefaultEventType;
    if (*session) {
        eventType = (*session)->ClientEventType();
        delete *session;
        *session = nullptr;
    }
    auto* s = new CKVCLProcess(clientId, clientType, EventHandle(event), window, message);
    s->SetStoredClientEventType(eventType);
    return StartSession(session, s, clientType);
}

KV_API long ClientLogon(long clientId, short clientType, void* event, void* window, unsigned int message)
{
    return ClientLogonMT(&pGCLProcess, clientId, clientType, event, window, message);
}

// Creates the library lock and holds it throughout; the new session starts with the
// default client event type.
KV_API long ClientLogonExMT(CKVCLProcess** session, long clientId, short clientType, const char* server,
                            unsigned short callPort, unsigned short eventsPort, long callTimeout, void* event,
                            void* window, unsigned int message)
{
    InitialiseCS();
    CSLock lock;
    if (!session)
        return NO_SESSION_RESULT;
    delete *session;
    *session = nullptr;
    // A null or empty server (or "<LOCAL>") is this machine.
    auto* s = new CKVCLProcess(clientId, clientType, server, callPort, eventsPort, callTimeout, EventHandle(event),
                               window, message);
    return StartSession(session, s, clientType);
}

KV_API long ClientLogonEx(long clientId, short clientType, const char* server, unsigned short callPort,
                          unsigned short eventsPort, long callTimeout, void* event, void* window,
                          unsigned int message)
{
    return ClientLogonExMT(&pGCLProcess, clientId, clientType, server, callPort, eventsPort, callTimeout, event,
                           window, message);
}

// Locks by itself: never call it with the library lock held.
KV_API long ClientLogoffMT(CKVCLProcess** session)
{
    CSLock lock;
    if (!session || !*session)
        return NO_SESSION_RESULT;
    CKVCLProcess* s = *session;
    s->ReapRetired();
    long r = s->Logoff();
    s->Trace()->Log("ClientLogoff %d logged off, %d.", static_cast<int>(s->ClientID()), static_cast<int>(r));
    delete s;
    *session = nullptr;
    return r;
}

KV_API long ClientLogoff(void) { return ClientLogoffMT(&pGCLProcess); }

KV_API long CheckForManagementFtnMT(CKVCLProcess** session)
{
    if (!session || !*session)
        return NO_SESSION_RESULT;
    return Admit(*session, CHECK_MANAGEMENT);
}

KV_API long CheckForManagementFtn(void)
{
    CSLock lock;
    return CheckForManagementFtnMT(&pGCLProcess);
}

}  // extern "C"

KV_PAIR(ClientStatus, FAMILY_STATUS, (short* a1, short* a2), (a1, a2),
        p.Client()->Status(p.ClientID(), a1, a2))
KV_PAIR(FireClientEvent, FAMILY_STATUS, (long eventId, const char* text), (eventId, text),
        p.Client()->FireClientEvent(p.ClientID(), eventId, GetStr(text)))
KV_PAIR(ServerVersion, FAMILY_CALLS, (char* out), (out),
        p.Client()->GetVersion(OutStr(r, out)))
KV_PAIR(FireEvents, FAMILY_CALLS, (), (),
        p.Client()->FireEvents(p.ClientID()))
KV_PAIR(TestConnection, FAMILY_TEST, (), (),
        p.TestConnection())
KV_PAIR(ProcessEvents, FAMILY_PROCESS, (), (),
        p.ProcessEvents())
KV_PAIR(GetEventsCount, FAMILY_QUEUE, (long* count), (count),
        p.GetEventsCount(count))
KV_PAIR(GetNextEventType, FAMILY_QUEUE, (short* type), (type),
        p.GetNextEventType(type))
KV_PAIR(DiscardNextEvent, FAMILY_QUEUE, (), (),
        p.DiscardNextEvent())
