// Client-management calls: operations addressed to this client or to the installation as a
// whole, all through the client proxy with the session's client number as the object.
#include "api/frame.h"
#include "proxies/IClient.h"

using namespace kvapi;

namespace {

// SetTCPIPConfigMT and WDResetMT check nothing of their own: a session that lost its
// connection still sends the call (the transport reconnects under it). One that has logged
// off has no client proxy left to send it with: that is no session, 8, as for a null one.
template <class F>
long WithClient(CKVCLProcess& p, F call)
{
    CIClient* c = p.Client();
    return c ? call(*c) : long(NO_SESSION_RESULT);
}

}  // namespace

KV_PAIR(AllStop, FAMILY_CALLS, (), (),
        p.Client()->AllStop(p.ClientID()))
KV_PAIR(AllAuthorise, FAMILY_CALLS, (), (),
        p.Client()->AllAuthorise(p.ClientID()))
KV_PAIR(AllReAuthorise, FAMILY_CALLS, (), (),
        p.Client()->AllReAuthorise(p.ClientID()))
KV_PAIR(AllStopIfIdle, FAMILY_CALLS, (), (),
        p.Client()->AllStopIfIdle(p.ClientID()))
KV_PAIR(ReadAllTanks, FAMILY_CALLS, (), (),
        p.Client()->ReadAllTanks(p.ClientID()))
KV_PAIR(SetNextDeliveryID, FAMILY_CALLS, (long id), (id),
        p.Client()->ReloadComplete(p.ClientID(), id))
KV_PAIR(GetClientsCount, FAMILY_CALLS, (long* count), (count),
        p.Client()->Count(count))
KV_PAIR(GetClientType, FAMILY_CALLS, (long* mask), (mask),
        mask ? (*mask = p.ClientEventType(), long(OK_RESULT)) : long(OK_RESULT))
KV_PAIR(SetClientType, FAMILY_CALLS, (long mask), (mask),
        p.SetClientEventType(p.ClientID(), mask))
KV_PAIR(GetDateTime, FAMILY_CALLS, (long* when), (when),
        p.Client()->GetDateTime(p.ClientID(), OutDate(r, when)))
KV_PAIR(SetDateTime, FAMILY_CALLS, (long when), (when),
        p.Client()->SetDateTime(p.ClientID(), Date(when)))
KV_PAIR(GetIniValue, FAMILY_CALLS, (const char* section, const char* key, char* value), (section, key, value),
        p.Client()->GetIniValue(p.ClientID(), GetStr(section), GetStr(key), OutStr(r, value)))
KV_PAIR(SetIniValue, FAMILY_CALLS, (const char* section, const char* key, const char* value), (section, key, value),
        p.Client()->SetIniValue(p.ClientID(), GetStr(section), GetStr(key), GetStr(value)))
KV_PAIR(GetIniValueEx, FAMILY_CALLS, (const char* file, const char* section, const char* key, char* value),
        (file, section, key, value),
        p.Client()->GetIniValueEx(p.ClientID(), GetStr(file), GetStr(section), GetStr(key), OutStr(r, value)))
KV_PAIR(SetIniValueEx, FAMILY_CALLS, (const char* file, const char* section, const char* key, const char* value),
        (file, section, key, value),
        p.Client()->SetIniValueEx(p.ClientID(), GetStr(file), GetStr(section), GetStr(key), GetStr(value)))
KV_PAIR(GetAllPumpStatuses, FAMILY_CALLS, (char* a1, char* a2, char* a3), (a1, a2, a3),
        p.Client()->GetAllPumpStatuses(p.ClientID(), OutStr(r, a1), OutStr(r, a2), OutStr(r, a3)))
KV_PAIR(GetTCPIPConfig, FAMILY_CALLS, (char* a1, char* a2, char* a3, char* a4, short* a5, char* a6),
        (a1, a2, a3, a4, a5, a6),
        p.Client()->GetTCPIPConfig(p.ClientID(), OutStr(r, a1), OutStr(r, a2), OutStr(r, a3), OutStr(r, a4), a5,
                                   OutStr(r, a6)))
KV_PAIR(SetTCPIPConfig, FAMILY_UNCHECKED,
        (const char* a1, const char* a2, const char* a3, const char* a4, short a5, const char* a6),
        (a1, a2, a3, a4, a5, a6),
        WithClient(p, [&](CIClient& c) {
            return c.SetTCPIPConfig(p.ClientID(), GetStr(a1), GetStr(a2), GetStr(a3), GetStr(a4), a5, GetStr(a6));
        }))
KV_PAIR(WDReset, FAMILY_UNCHECKED, (), (),
        WithClient(p, [&](CIClient& c) { return c.WDReset(p.ClientID()); }))
KV_PAIR(FindCard, FAMILY_CALLS, (const char* card, short* a2, short* a3, long* a4, char* a5, long* a6),
        (card, a2, a3, a4, a5, a6),
        p.Client()->FindCard(p.ClientID(), GetStr(card), a2, a3, a4, OutStr(r, a5), a6))
KV_PAIR(GetCardType, FAMILY_CALLS, (const char* card, short* a2, long* a3, char* a4, long* a5),
        (card, a2, a3, a4, a5),
        p.Client()->GetCardType(p.ClientID(), GetStr(card), a2, a3, OutStr(r, a4), a5))
KV_PAIR(SetPriceSignElement, FAMILY_CALLS,
        (short a1, short a2, long a3, short a4, double value, short a6, short a7, short a8),
        (a1, a2, a3, a4, value, a6, a7, a8),
        p.Client()->SetPriceSignElement(p.ClientID(), a1, a2, a3, a4, Cur(value), a6, a7, a8))
KV_PAIR(GetPriceSignElement, FAMILY_CALLS,
        (short a1, short* a2, long* a3, short* a4, double* value, short* a6, short* a7, short* a8),
        (a1, a2, a3, a4, value, a6, a7, a8),
        p.Client()->GetPriceSignElement(p.ClientID(), a1, a2, a3, a4, OutCur(value), a6, a7, a8))
