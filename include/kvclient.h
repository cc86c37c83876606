/*
 * kvclient: the flat C API of the forecourt controller client library.
 *
 * Every operation Foo(...) works on the library's own session, created by ClientLogon or
 * ClientLogonEx, under the library-wide lock (ClientLogon takes none). FooMT(session, ...)
 * does the same work on the session the caller names and takes no lock, except
 * ClientLogonExMT, which creates the lock and holds it throughout, and ClientLogoffMT, which
 * takes it: callers of the other MT forms serialise them. ClientLogonMT, ClientLogonExMT,
 * ClientLogoffMT and CheckForManagementFtnMT take the address of the session pointer, since
 * they create, replace or clear it.
 *
 * Results: 0 success; 8 no session; -14 not connected; -22 the session's client type lacks
 * the interface (bit 0 calls, bit 1 events); 2 no event of the asked kind, or not found;
 * 56 server older than the library; otherwise the server's result code.
 *
 * Values: double stands for a fixed-point value with four decimals (rounded half away from
 * zero on the way in); a date is a long count of seconds since 1970-01-01 (0 or less: no
 * date); IDs are long, and -1 is never a valid object. Output pointers may be null. A null
 * long*, short* or long long* output is not requested from the server. double*, date and
 * string outputs are always requested, into holders of the library's own, and a null pointer
 * only skips the copy out. double* outputs are written whatever the result (0.0 after a
 * failure); dates only on success, except in the pump delivery-data functions
 * (GetPumpDeliveryProperties...), which write them whatever the result (-921101622, the empty
 * date, after a failure). String outputs are copied into the caller's buffer only on
 * success and only up to strlen() of what the buffer holds before the call, with no
 * terminator added when the text fills it: pre-fill the buffer (e.g. with blanks) to the
 * wanted width. Input strings are zero-terminated and only read.
 *
 * Generic argument names: fN is field N of the record or list the function reads or writes
 * (event records: see docs/events.md); sN is field N of the delivery summary; aN is the
 * Nth argument after the object ID; filterN is value N of a look-up filter.
 */
#ifndef KVCLIENT_H
#define KVCLIENT_H

#ifndef KV_API
#define KV_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The client session; opaque to callers. */
typedef struct CKVCLProcess CKVCLProcess;


/* ---- Library --------------------------------------------------------------------------------- */
/* Need no session (the MT forms ignore theirs); Log and SetLogPath work with or without one. */

/* Library entry: reason 1 creates the global lock, reason 2 destroys it; returns 1. */
KV_API int DllMain(void* handle, unsigned long reason, void* reserved);

/* Copies the library version text into out (pre-filled buffer); the session is not used. */
KV_API long DllVersion(char* out);
KV_API long DllVersionMT(CKVCLProcess* session, char* out);

/* Text of a result code; always "". */
KV_API const char* ResultString(long result);
KV_API const char* ResultStringMT(CKVCLProcess* session, long result);

/* Text of a pump state; always "". */
KV_API const char* PumpStateString(short state);
KV_API const char* PumpStateStringMT(CKVCLProcess* session, short state);

/* Text of a delivery state; always "". */
KV_API const char* DeliveryStateString(short state);
KV_API const char* DeliveryStateStringMT(CKVCLProcess* session, short state);

/* Text of a delivery type; always "". */
KV_API const char* DeliveryTypeString(short type);
KV_API const char* DeliveryTypeStringMT(CKVCLProcess* session, short type);

/* Text of a pump reservation type; always "". */
KV_API const char* ReserveTypeString(short type);
KV_API const char* ReserveTypeStringMT(CKVCLProcess* session, short type);

/* Writes text to the session log (0 and nothing written without a session). */
KV_API long Log(const char* text);
KV_API long LogMT(CKVCLProcess* session, const char* text);

/* Sets the log file path, kept for this and every later session. */
KV_API long SetLogPath(const char* path);
KV_API long SetLogPathMT(CKVCLProcess* session, const char* path);

/* ---- Session --------------------------------------------------------------------------------- */

/* Logs on; clientType bits: 1 calls, 2 events, 4 database events; settings from KVClient.ini. */
KV_API long ClientLogon(long clientId, short clientType, void* event, void* window,
    unsigned int message);
KV_API long ClientLogonMT(CKVCLProcess** session, long clientId, short clientType, void* event,
    void* window, unsigned int message);

/* Logs on with the server address, ports and call time-out given; also creates the global lock. */
KV_API long ClientLogonEx(long clientId, short clientType, const char* server,
    unsigned short callPort, unsigned short eventsPort, long callTimeout, void* event, void* window,
    unsigned int message);
KV_API long ClientLogonExMT(CKVCLProcess** session, long clientId, short clientType,
    const char* server, unsigned short callPort, unsigned short eventsPort, long callTimeout,
    void* event, void* window, unsigned int message);

/* Logs off and destroys the session (8 when there is none); the MT form takes the lock itself. */
KV_API long ClientLogoff(void);
KV_API long ClientLogoffMT(CKVCLProcess** session);

/* The server's two status values for this client (outputs). */
KV_API long ClientStatus(short* a1, short* a2);
KV_API long ClientStatusMT(CKVCLProcess* session, short* a1, short* a2);

/* Reads pending events and pings the server; reconnects when either fails. */
KV_API long TestConnection(void);
KV_API long TestConnectionMT(CKVCLProcess* session);

/* Handles pending management messages on the call connection. */
KV_API long CheckForManagementFtn(void);
KV_API long CheckForManagementFtnMT(CKVCLProcess** session);

/* Copies the server's version text into out (pre-filled buffer). */
KV_API long ServerVersion(char* out);
KV_API long ServerVersionMT(CKVCLProcess* session, char* out);

/* ---- Client management ----------------------------------------------------------------------- */
/* Calls addressed to this client or to the whole installation. */

/* Stops every pump. */
KV_API long AllStop(void);
KV_API long AllStopMT(CKVCLProcess* session);

/* Authorises every pump. */
KV_API long AllAuthorise(void);
KV_API long AllAuthoriseMT(CKVCLProcess* session);

/* Re-authorises every pump. */
KV_API long AllReAuthorise(void);
KV_API long AllReAuthoriseMT(CKVCLProcess* session);

/* Stops every idle pump. */
KV_API long AllStopIfIdle(void);
KV_API long AllStopIfIdleMT(CKVCLProcess* session);

/* Asks every tank gauge for a fresh reading. */
KV_API long ReadAllTanks(void);
KV_API long ReadAllTanksMT(CKVCLProcess* session);

/* Tells the server the next delivery ID to use. */
KV_API long SetNextDeliveryID(long id);
KV_API long SetNextDeliveryIDMT(CKVCLProcess* session, long id);

/* Number of clients logged on to the server. */
KV_API long GetClientsCount(long* count);
KV_API long GetClientsCountMT(CKVCLProcess* session, long* count);

/* The event mask this session asks the server for (no call). */
KV_API long GetClientType(long* mask);
KV_API long GetClientTypeMT(CKVCLProcess* session, long* mask);

/* Sets the event mask this session asks the server for. */
KV_API long SetClientType(long mask);
KV_API long SetClientTypeMT(CKVCLProcess* session, long mask);

/* The server's clock, in seconds since 1970. */
KV_API long GetDateTime(long* when);
KV_API long GetDateTimeMT(CKVCLProcess* session, long* when);

/* Sets the server's clock, in seconds since 1970. */
KV_API long SetDateTime(long when);
KV_API long SetDateTimeMT(CKVCLProcess* session, long when);

/* Reads a value from the server's INI file (value: pre-filled buffer). */
KV_API long GetIniValue(const char* section, const char* key, char* value);
KV_API long GetIniValueMT(CKVCLProcess* session, const char* section, const char* key, char* value);

/* Writes a value to the server's INI file. */
KV_API long SetIniValue(const char* section, const char* key, const char* value);
KV_API long SetIniValueMT(CKVCLProcess* session, const char* section, const char* key,
    const char* value);

/* Reads a value from a named INI file on the server (value: pre-filled buffer). */
KV_API long GetIniValueEx(const char* file, const char* section, const char* key, char* value);
KV_API long GetIniValueExMT(CKVCLProcess* session, const char* file, const char* section,
    const char* key, char* value);

/* Writes a value to a named INI file on the server. */
KV_API long SetIniValueEx(const char* file, const char* section, const char* key,
    const char* value);
KV_API long SetIniValueExMT(CKVCLProcess* session, const char* file, const char* section,
    const char* key, const char* value);

/* The three pump status strings of the whole forecourt (outputs). */
KV_API long GetAllPumpStatuses(char* a1, char* a2, char* a3);
KV_API long GetAllPumpStatusesMT(CKVCLProcess* session, char* a1, char* a2, char* a3);

/* The server's TCP/IP settings (outputs). */
KV_API long GetTCPIPConfig(char* a1, char* a2, char* a3, char* a4, short* a5, char* a6);
KV_API long GetTCPIPConfigMT(CKVCLProcess* session, char* a1, char* a2, char* a3, char* a4,
    short* a5, char* a6);

/* Sets the server's TCP/IP settings; the MT form makes no checks of its own (a null or logged-off
 * session: 8). */
KV_API long SetTCPIPConfig(const char* a1, const char* a2, const char* a3, const char* a4, short a5,
    const char* a6);
KV_API long SetTCPIPConfigMT(CKVCLProcess* session, const char* a1, const char* a2, const char* a3,
    const char* a4, short a5, const char* a6);

/* Resets the server's watchdog; the MT form makes no checks of its own (a null or logged-off
 * session: 8). */
KV_API long WDReset(void);
KV_API long WDResetMT(CKVCLProcess* session);

/* Looks a card up (card in, the rest out). */
KV_API long FindCard(const char* card, short* a2, short* a3, long* a4, char* a5, long* a6);
KV_API long FindCardMT(CKVCLProcess* session, const char* card, short* a2, short* a3, long* a4,
    char* a5, long* a6);

/* The type of a card (card in, the rest out). */
KV_API long GetCardType(const char* card, short* a2, long* a3, char* a4, long* a5);
KV_API long GetCardTypeMT(CKVCLProcess* session, const char* card, short* a2, long* a3, char* a4,
    long* a5);

/* Sets one price sign element. */
KV_API long SetPriceSignElement(short a1, short a2, long a3, short a4, double value, short a6,
    short a7, short a8);
KV_API long SetPriceSignElementMT(CKVCLProcess* session, short a1, short a2, long a3, short a4,
    double value, short a6, short a7, short a8);

/* Reads one price sign element (a1 in, the rest out). */
KV_API long GetPriceSignElement(short a1, short* a2, long* a3, short* a4, double* value, short* a6,
    short* a7, short* a8);
KV_API long GetPriceSignElementMT(CKVCLProcess* session, short a1, short* a2, long* a3, short* a4,
    double* value, short* a6, short* a7, short* a8);

/* Sends a client event to the other clients. */
KV_API long FireClientEvent(long eventId, const char* text);
KV_API long FireClientEventMT(CKVCLProcess* session, long eventId, const char* text);

/* ---- Pumps ----------------------------------------------------------------------------------- */

/* Number of pumps. */
KV_API long GetPumpsCount(long* count);
KV_API long GetPumpsCountMT(CKVCLProcess* session, long* count);

/* ID of the pump at a position of the server's list. */
KV_API long GetPumpByOrdinal(long ordinal, long* id);
KV_API long GetPumpByOrdinalMT(CKVCLProcess* session, long ordinal, long* id);

/* ID of the pump with this number. */
KV_API long GetPumpByNumber(long number, long* id);
KV_API long GetPumpByNumberMT(CKVCLProcess* session, long number, long* id);

/* ID of the pump with this name. */
KV_API long GetPumpByName(const char* name, long* id);
KV_API long GetPumpByNameMT(CKVCLProcess* session, const char* name, long* id);

/* Deletes a pump. */
KV_API long DeletePump(long id);
KV_API long DeletePumpMT(CKVCLProcess* session, long id);

/* Creates a pump with the ID, number and name given (1: the ID exists). */
KV_API long NewPump(long id, long number, const char* name);
KV_API long NewPumpMT(CKVCLProcess* session, long id, long number, const char* name);

/* Gives a pump another number. */
KV_API long SetPumpNumber(long id, long number);
KV_API long SetPumpNumberMT(CKVCLProcess* session, long id, long number);

/* Gives a pump another name. */
KV_API long SetPumpName(long id, const char* name);
KV_API long SetPumpNameMT(CKVCLProcess* session, long id, const char* name);

/* Number of hoses on a pump. */
KV_API long GetPumpHosesCount(long id, long* count);
KV_API long GetPumpHosesCountMT(CKVCLProcess* session, long id, long* count);

/* ID of the hose with this number on a pump. */
KV_API long GetPumpHoseByNumber(long id, long number, long* hoseId);
KV_API long GetPumpHoseByNumberMT(CKVCLProcess* session, long id, long number, long* hoseId);

/* Authorises a pump. */
KV_API long Authorise(long id);
KV_API long AuthoriseMT(CKVCLProcess* session, long id);

/* Cancels a pump's authorisation. */
KV_API long CancelAuthorise(long id);
KV_API long CancelAuthoriseMT(CKVCLProcess* session, long id);

/* Stops a pump for the moment. */
KV_API long TempStop(long id);
KV_API long TempStopMT(CKVCLProcess* session, long id);

/* Lets a stopped pump go on. */
KV_API long ReAuthorise(long id);
KV_API long ReAuthoriseMT(CKVCLProcess* session, long id);

/* Ends the current delivery of a pump (sent even for ID -1). */
KV_API long TerminateDelivery(long id);
KV_API long TerminateDeliveryMT(CKVCLProcess* session, long id);

/* Stacks the current delivery of a pump. */
KV_API long StackCurrentDelivery(long id);
KV_API long StackCurrentDeliveryMT(CKVCLProcess* session, long id);

/* Disables a pump. */
KV_API long DisablePump(long id);
KV_API long DisablePumpMT(CKVCLProcess* session, long id);

/* Enables a pump. */
KV_API long EnablePump(long id);
KV_API long EnablePumpMT(CKVCLProcess* session, long id);

/* Authorises a pump for an attendant. */
KV_API long AttendantAuthorise(long id, long attendantId);
KV_API long AttendantAuthoriseMT(CKVCLProcess* session, long id, long attendantId);

/* Sets a pump's default price level. */
KV_API long SetPumpDefaultPriceLevel(long id, short level);
KV_API long SetPumpDefaultPriceLevelMT(CKVCLProcess* session, long id, short level);

/* A pump's default price level (output). */
KV_API long GetPumpDefaultPriceLevel(long id, short* level);
KV_API long GetPumpDefaultPriceLevelMT(CKVCLProcess* session, long id, short* level);

/* Flashes a pump's lamps. */
KV_API long FlashLEDS(long id, short a1, short a2);
KV_API long FlashLEDSMT(CKVCLProcess* session, long id, short a1, short a2);

/* Schedules beeps on a pump. */
KV_API long ScheduleBeep(long id, short a1, short a2, short a3, short a4, short a5, short a6,
    short a7, short a8, short a9, short a10);
KV_API long ScheduleBeepMT(CKVCLProcess* session, long id, short a1, short a2, short a3, short a4,
    short a5, short a6, short a7, short a8, short a9, short a10);

/* Loads a preset of the given type and value. */
KV_API long LoadPreset(long id, short type, double value, short a3, short a4);
KV_API long LoadPresetMT(CKVCLProcess* session, long id, short type, double value, short a3,
    short a4);

/* Loads a preset with a unit price. */
KV_API long LoadPresetWithPrice(long id, short type, double value, short a3, short a4,
    double price);
KV_API long LoadPresetWithPriceMT(CKVCLProcess* session, long id, short type, double value,
    short a3, short a4, double price);

/* Authorises a pump for a tag. */
KV_API long TagAuthorise(long id, long long tag, short a2, double value, short a4, short a5);
KV_API long TagAuthoriseMT(CKVCLProcess* session, long id, long long tag, short a2, double value,
    short a4, short a5);

/* Reserves a pump for a prepay by this client. */
KV_API long PrepayReserve(long id);
KV_API long PrepayReserveMT(CKVCLProcess* session, long id);

/* Cancels this client's prepay reservation. */
KV_API long PrepayCancel(long id);
KV_API long PrepayCancelMT(CKVCLProcess* session, long id);

/* Authorises a prepay delivery. */
KV_API long PrepayAuthorise(long id, short type, double value, short a3, short a4);
KV_API long PrepayAuthoriseMT(CKVCLProcess* session, long id, short type, double value, short a3,
    short a4);

/* Reserves a pump for a pre-authorisation by this client. */
KV_API long PreauthReserve(long id);
KV_API long PreauthReserveMT(CKVCLProcess* session, long id);

/* Cancels this client's pre-authorisation reservation. */
KV_API long PreauthCancel(long id);
KV_API long PreauthCancelMT(CKVCLProcess* session, long id);

/* Authorises a pre-authorised delivery. */
KV_API long PreauthAuthorise(long id, short type, double value, short a3, short a4);
KV_API long PreauthAuthoriseMT(CKVCLProcess* session, long id, short type, double value, short a3,
    short a4);

/* Reserves a pump for an external payment. */
KV_API long PaymentReserve(long id, long a1, const char* a2);
KV_API long PaymentReserveMT(CKVCLProcess* session, long id, long a1, const char* a2);

/* Cancels an external payment reservation. */
KV_API long PaymentCancel(long id, long a1, const char* a2);
KV_API long PaymentCancelMT(CKVCLProcess* session, long id, long a1, const char* a2);

/* Authorises a pump against an external payment. */
KV_API long PaymentAuthorise(long id, long a1, const char* a2, long a3, long long a4, long a5,
    long long a6, short a7, long long a8, short a9, short a10, short a11, double a12, short a13,
    double a14, short a15, double a16, double a17, const char* a18, const char* a19,
    const char* a20, const char* a21);
KV_API long PaymentAuthoriseMT(CKVCLProcess* session, long id, long a1, const char* a2, long a3,
    long long a4, long a5, long long a6, short a7, long long a8, short a9, short a10, short a11,
    double a12, short a13, double a14, short a15, double a16, double a17, const char* a18,
    const char* a19, const char* a20, const char* a21);

/* Short PaymentAuthorise: a1 goes as its a19, a2 a18, a3 a13, amount a14, a5 a15, a6 a11. */
KV_API long ExtAuthoriseVFP(long id, const char* a1, const char* a2, short a3, double amount,
    short a5, short a6);

/* Reports the start of an externally controlled delivery. */
KV_API long ExternalStartDelivery(long id, long a1, long a2);
KV_API long ExternalStartDeliveryMT(CKVCLProcess* session, long id, long a1, long a2);

/* Reports the end of an externally controlled delivery. */
KV_API long ExternalEndDelivery(long id, long a1, double a2, double a3, short a4, double a5,
    double a6, double a7, long long a8, long long a9, long a10, long a11);
KV_API long ExternalEndDeliveryMT(CKVCLProcess* session, long id, long a1, double a2, double a3,
    short a4, double a5, double a6, double a7, long long a8, long long a9, long a10, long a11);

/* Shows a prompt on the pump's terminal (one-way; a3 is not transmitted). */
KV_API long KVTermPrompt(long id, short a1, short a2, short a3, short a4, short a5, short a6,
    short a7, short a8, short a9, short a10, short a11, short a12, const char* a13);
KV_API long KVTermPromptMT(CKVCLProcess* session, long id, short a1, short a2, short a3, short a4,
    short a5, short a6, short a7, short a8, short a9, short a10, short a11, short a12,
    const char* a13);

/* Product density at a pump. */
KV_API long GetDensity(long id, double* density);
KV_API long GetDensityMT(CKVCLProcess* session, long id, double* density);

/* A pump's status (outputs). */
KV_API long GetPumpStatus(long id, short* f1, short* f2, long* f3, long* f4, short* f5, long* f6,
    char* f7, char* f8, short* f9, double* f10, double* f11, double* f12, short* f13);
KV_API long GetPumpStatusMT(CKVCLProcess* session, long id, short* f1, short* f2, long* f3,
    long* f4, short* f5, long* f6, char* f7, char* f8, short* f9, double* f10, double* f11,
    double* f12, short* f13);

/* A pump's extended status, without its last two values (outputs). */
KV_API long GetPumpStatusEx(long id, long* f1, char* f2, long* f3, short* f4, short* f5, long* f6,
    long* f7, long* f8, long* f9, long* f10, long* f11, char* f12, char* f13, short* f14,
    double* f15, double* f16, double* f17, short* f18, long long* f19, long* f20, long* f21,
    char* f22, long long* f23, long* f24, long* f25, char* f26, long long* f27);
KV_API long GetPumpStatusExMT(CKVCLProcess* session, long id, long* f1, char* f2, long* f3,
    short* f4, short* f5, long* f6, long* f7, long* f8, long* f9, long* f10, long* f11, char* f12,
    char* f13, short* f14, double* f15, double* f16, double* f17, short* f18, long long* f19,
    long* f20, long* f21, char* f22, long long* f23, long* f24, long* f25, char* f26,
    long long* f27);

/* A pump's extended status, all 29 values (outputs). */
KV_API long GetPumpStatusEx2(long id, long* f1, char* f2, long* f3, short* f4, short* f5, long* f6,
    long* f7, long* f8, long* f9, long* f10, long* f11, char* f12, char* f13, short* f14,
    double* f15, double* f16, double* f17, short* f18, long long* f19, long* f20, long* f21,
    char* f22, long long* f23, long* f24, long* f25, char* f26, long long* f27, double* f28,
    double* f29);
KV_API long GetPumpStatusEx2MT(CKVCLProcess* session, long id, long* f1, char* f2, long* f3,
    short* f4, short* f5, long* f6, long* f7, long* f8, long* f9, long* f10, long* f11, char* f12,
    char* f13, short* f14, double* f15, double* f16, double* f17, short* f18, long long* f19,
    long* f20, long* f21, char* f22, long long* f23, long* f24, long* f25, char* f26,
    long long* f27, double* f28, double* f29);

/* One delivery of a pump, chosen by index: its 17 values (outputs; f16 a date). */
KV_API long GetPumpDeliveryProperties(long id, short index, long* f1, short* f2, short* f3,
    long* f4, short* f5, long* f6, char* f7, char* f8, short* f9, double* f10, double* f11,
    double* f12, long* f13, long* f14, long* f15, long* f16, long* f17);
KV_API long GetPumpDeliveryPropertiesMT(CKVCLProcess* session, long id, short index, long* f1,
    short* f2, short* f3, long* f4, short* f5, long* f6, char* f7, char* f8, short* f9, double* f10,
    double* f11, double* f12, long* f13, long* f14, long* f15, long* f16, long* f17);

/* As GetPumpDeliveryProperties, plus values f21 to f24. */
KV_API long GetPumpDeliveryPropertiesEx(long id, short index, long* f1, short* f2, short* f3,
    long* f4, short* f5, long* f6, char* f7, char* f8, short* f9, double* f10, double* f11,
    double* f12, long* f13, long* f14, long* f15, long* f16, long* f17, double* f21, double* f22,
    double* f23, long long* f24);
KV_API long GetPumpDeliveryPropertiesExMT(CKVCLProcess* session, long id, short index, long* f1,
    short* f2, short* f3, long* f4, short* f5, long* f6, char* f7, char* f8, short* f9, double* f10,
    double* f11, double* f12, long* f13, long* f14, long* f15, long* f16, long* f17, double* f21,
    double* f22, double* f23, long long* f24);

/* As GetPumpDeliveryProperties, plus values f18 to f25. */
KV_API long GetPumpDeliveryPropertiesEx2(long id, short index, long* f1, short* f2, short* f3,
    long* f4, short* f5, long* f6, char* f7, char* f8, short* f9, double* f10, double* f11,
    double* f12, long* f13, long* f14, long* f15, long* f16, long* f17, double* f18, double* f19,
    double* f20, double* f21, double* f22, double* f23, long long* f24, long* f25);
KV_API long GetPumpDeliveryPropertiesEx2MT(CKVCLProcess* session, long id, short index, long* f1,
    short* f2, short* f3, long* f4, short* f5, long* f6, char* f7, char* f8, short* f9, double* f10,
    double* f11, double* f12, long* f13, long* f14, long* f15, long* f16, long* f17, double* f18,
    double* f19, double* f20, double* f21, double* f22, double* f23, long long* f24, long* f25);

/* As GetPumpDeliveryProperties, plus values f18 to f26. */
KV_API long GetPumpDeliveryPropertiesEx3(long id, short index, long* f1, short* f2, short* f3,
    long* f4, short* f5, long* f6, char* f7, char* f8, short* f9, double* f10, double* f11,
    double* f12, long* f13, long* f14, long* f15, long* f16, long* f17, double* f18, double* f19,
    double* f20, double* f21, double* f22, double* f23, long long* f24, long* f25, long* f26);
KV_API long GetPumpDeliveryPropertiesEx3MT(CKVCLProcess* session, long id, short index, long* f1,
    short* f2, short* f3, long* f4, short* f5, long* f6, char* f7, char* f8, short* f9, double* f10,
    double* f11, double* f12, long* f13, long* f14, long* f15, long* f16, long* f17, double* f18,
    double* f19, double* f20, double* f21, double* f22, double* f23, long long* f24, long* f25,
    long* f26);

/* As GetPumpDeliveryProperties, plus values f18 to f27. */
KV_API long GetPumpDeliveryPropertiesEx4(long id, short index, long* f1, short* f2, short* f3,
    long* f4, short* f5, long* f6, char* f7, char* f8, short* f9, double* f10, double* f11,
    double* f12, long* f13, long* f14, long* f15, long* f16, long* f17, double* f18, double* f19,
    double* f20, double* f21, double* f22, double* f23, long long* f24, long* f25, long* f26,
    double* f27);
KV_API long GetPumpDeliveryPropertiesEx4MT(CKVCLProcess* session, long id, short index, long* f1,
    short* f2, short* f3, long* f4, short* f5, long* f6, char* f7, char* f8, short* f9, double* f10,
    double* f11, double* f12, long* f13, long* f14, long* f15, long* f16, long* f17, double* f18,
    double* f19, double* f20, double* f21, double* f22, double* f23, long long* f24, long* f25,
    long* f26, double* f27);

/* Short GetPumpDeliveryPropertiesEx3: values f1, f2, f4, f6, f7, f10 to f13, f16 (date), f25. */
KV_API long GetPumpDeliveryPropertiesVFP(long id, short index, long* f1, short* f2, long* f4,
    long* f6, char* f7, double* f10, double* f11, double* f12, long* f13, long* f16, long* f25);

/* A pump's configuration (outputs). */
KV_API long GetPumpProperties(long id, long* number, char* name, short* f3, short* f4, short* f5,
    short* f6, short* f7, short* f8, short* f9, short* f10, short* f11, long* f12, long* f13,
    short* f14, short* f15, short* f16, short* f17);
KV_API long GetPumpPropertiesMT(CKVCLProcess* session, long id, long* number, char* name, short* f3,
    short* f4, short* f5, short* f6, short* f7, short* f8, short* f9, short* f10, short* f11,
    long* f12, long* f13, short* f14, short* f15, short* f16, short* f17);

/* A pump's extended configuration (outputs). */
KV_API long GetPumpPropertiesEx(long id, long* number, char* name, short* f3, short* f4, short* f5,
    short* f6, short* f7, short* f8, short* f9, short* f10, short* f11, long* f12, long* f13,
    short* f14, short* f15, short* f16, short* f17, long* f18, long* f19, short* f20, short* f21);
KV_API long GetPumpPropertiesExMT(CKVCLProcess* session, long id, long* number, char* name,
    short* f3, short* f4, short* f5, short* f6, short* f7, short* f8, short* f9, short* f10,
    short* f11, long* f12, long* f13, short* f14, short* f15, short* f16, short* f17, long* f18,
    long* f19, short* f20, short* f21);

/* Writes a pump's configuration. */
KV_API long SetPumpProperties(long id, long number, const char* name, short f3, short f4, short f5,
    short f6, short f7, short f8, short f9, short f10, short f11, long f12, long f13, short f14,
    short f15, short f16, short f17);
KV_API long SetPumpPropertiesMT(CKVCLProcess* session, long id, long number, const char* name,
    short f3, short f4, short f5, short f6, short f7, short f8, short f9, short f10, short f11,
    long f12, long f13, short f14, short f15, short f16, short f17);

/* Writes a pump's extended configuration. */
KV_API long SetPumpPropertiesEx(long id, long number, const char* name, short f3, short f4,
    short f5, short f6, short f7, short f8, short f9, short f10, short f11, long f12, long f13,
    short f14, short f15, short f16, short f17, long f18, long f19, short f20, short f21);
KV_API long SetPumpPropertiesExMT(CKVCLProcess* session, long id, long number, const char* name,
    short f3, short f4, short f5, short f6, short f7, short f8, short f9, short f10, short f11,
    long f12, long f13, short f14, short f15, short f16, short f17, long f18, long f19, short f20,
    short f21);

/* ---- Deliveries ------------------------------------------------------------------------------ */

/* Number of current deliveries. */
KV_API long GetDeliveriesCount(long* count);
KV_API long GetDeliveriesCountMT(CKVCLProcess* session, long* count);

/* ID of the current delivery at a position of the server's list. */
KV_API long GetDeliveryByOrdinal(long ordinal, long* id);
KV_API long GetDeliveryByOrdinalMT(CKVCLProcess* session, long ordinal, long* id);

/* Number of all delivery objects. */
KV_API long GetAllDeliveriesCount(long* count);
KV_API long GetAllDeliveriesCountMT(CKVCLProcess* session, long* count);

/* ID of the delivery object at a position of the list of all. */
KV_API long GetAllDeliveryByOrdinal(long ordinal, long* id);
KV_API long GetAllDeliveryByOrdinalMT(CKVCLProcess* session, long ordinal, long* id);

/* Number of deliveries not yet acknowledged by AckDeliveryDBLog. */
KV_API long GetDeliveriesCountNotLogged(long* count);
KV_API long GetDeliveriesCountNotLoggedMT(CKVCLProcess* session, long* count);

/* ID of a delivery not yet acknowledged by AckDeliveryDBLog. */
KV_API long GetDeliveryIDByOrdinalNotLogged(long ordinal, long* id);
KV_API long GetDeliveryIDByOrdinalNotLoggedMT(CKVCLProcess* session, long ordinal, long* id);

/* Number of deliveries not yet acknowledged by AckDeliveryVolLog. */
KV_API long GetDeliveriesCountNotVolLogged(long* count);
KV_API long GetDeliveriesCountNotVolLoggedMT(CKVCLProcess* session, long* count);

/* ID of a delivery not yet acknowledged by AckDeliveryVolLog. */
KV_API long GetDeliveryIDByOrdinalNotVolLogged(long ordinal, long* id);
KV_API long GetDeliveryIDByOrdinalNotVolLoggedMT(CKVCLProcess* session, long ordinal, long* id);

/* Number of deliveries that match the filter, without a date limit. */
KV_API long GetDeliveriesCountFiltered(long* count, long filter1, long filter2, long filter3,
    long filter4, long filter5, long filter6, long filter7, long filter8, long filter9,
    long filter10, long filter11, short filter12, short filter13, short filter14, short filter15,
    long long filter16, long filter17, long filter18, long long filter19, long filter20,
    long filter21, long long filter22);
KV_API long GetDeliveriesCountFilteredMT(CKVCLProcess* session, long* count, long filter1,
    long filter2, long filter3, long filter4, long filter5, long filter6, long filter7,
    long filter8, long filter9, long filter10, long filter11, short filter12, short filter13,
    short filter14, short filter15, long long filter16, long filter17, long filter18,
    long long filter19, long filter20, long filter21, long long filter22);

/* Number of deliveries that match the filter between two dates (0: no limit). */
KV_API long GetDeliveriesCountFilteredEx(long* count, long filter1, long filter2, long filter3,
    long filter4, long filter5, long filter6, long filter7, long filter8, long filter9,
    long filter10, long filter11, short filter12, short filter13, short filter14, short filter15,
    long long filter16, long filter17, long filter18, long long filter19, long filter20,
    long filter21, long long filter22, long from, long to);
KV_API long GetDeliveriesCountFilteredExMT(CKVCLProcess* session, long* count, long filter1,
    long filter2, long filter3, long filter4, long filter5, long filter6, long filter7,
    long filter8, long filter9, long filter10, long filter11, short filter12, short filter13,
    short filter14, short filter15, long long filter16, long filter17, long filter18,
    long long filter19, long filter20, long filter21, long long filter22, long from, long to);

/* ID of a delivery that matches the filter, without a date limit. */
KV_API long GetDeliveryIDByOrdinalFiltered(long ordinal, long* id, long filter1, long filter2,
    long filter3, long filter4, long filter5, long filter6, long filter7, long filter8,
    long filter9, long filter10, long filter11, short filter12, short filter13, short filter14,
    short filter15, long long filter16, long filter17, long filter18, long long filter19,
    long filter20, long filter21, long long filter22);
KV_API long GetDeliveryIDByOrdinalFilteredMT(CKVCLProcess* session, long ordinal, long* id,
    long filter1, long filter2, long filter3, long filter4, long filter5, long filter6,
    long filter7, long filter8, long filter9, long filter10, long filter11, short filter12,
    short filter13, short filter14, short filter15, long long filter16, long filter17,
    long filter18, long long filter19, long filter20, long filter21, long long filter22);

/* ID of a delivery that matches the filter between two dates (0: no limit). */
KV_API long GetDeliveryIDByOrdinalFilteredEx(long ordinal, long* id, long filter1, long filter2,
    long filter3, long filter4, long filter5, long filter6, long filter7, long filter8,
    long filter9, long filter10, long filter11, short filter12, short filter13, short filter14,
    short filter15, long long filter16, long filter17, long filter18, long long filter19,
    long filter20, long filter21, long long filter22, long from, long to);
KV_API long GetDeliveryIDByOrdinalFilteredExMT(CKVCLProcess* session, long ordinal, long* id,
    long filter1, long filter2, long filter3, long filter4, long filter5, long filter6,
    long filter7, long filter8, long filter9, long filter10, long filter11, short filter12,
    short filter13, short filter14, short filter15, long long filter16, long filter17,
    long filter18, long long filter19, long filter20, long filter21, long long filter22, long from,
    long to);

/* Locks a delivery for this client. */
KV_API long LockDelivery(long id);
KV_API long LockDeliveryMT(CKVCLProcess* session, long id);

/* Unlocks a delivery. */
KV_API long UnlockDelivery(long id);
KV_API long UnlockDeliveryMT(CKVCLProcess* session, long id);

/* Clears (settles) a delivery. */
KV_API long ClearDelivery(long id, short type);
KV_API long ClearDeliveryMT(CKVCLProcess* session, long id, short type);

/* Locks and clears a delivery in one call. */
KV_API long LockAndClearDelivery(long id, short type);
KV_API long LockAndClearDeliveryMT(CKVCLProcess* session, long id, short type);

/* Acknowledges that a delivery is logged to the database. */
KV_API long AckDeliveryDBLog(long id);
KV_API long AckDeliveryDBLogMT(CKVCLProcess* session, long id);

/* Acknowledges that a delivery is logged to the volume records. */
KV_API long AckDeliveryVolLog(long id);
KV_API long AckDeliveryVolLogMT(CKVCLProcess* session, long id);

/* Duration of a delivery (duration in/out). */
KV_API long GetDuration(long id, long* duration);
KV_API long GetDurationMT(CKVCLProcess* session, long id, long* duration);

/* A delivery's extension record (outputs). */
KV_API long GetDeliveryExt(long id, char* f1, double* f2, double* f3, char* f4, char* f5, char* f6,
    short* f7);
KV_API long GetDeliveryExtMT(CKVCLProcess* session, long id, char* f1, double* f2, double* f3,
    char* f4, char* f5, char* f6, short* f7);

/* Sets a delivery's extension record. */
KV_API long SetDeliveryExt(long id, const char* f1, double f2, double f3, const char* f4,
    const char* f5, const char* f6, short f7);
KV_API long SetDeliveryExtMT(CKVCLProcess* session, long id, const char* f1, double f2, double f3,
    const char* f4, const char* f5, const char* f6, short f7);

/* A delivery's base fields f1 to f13 (outputs; f9 a date). */
KV_API long GetDeliveryProperties(long id, long* f1, short* f2, short* f3, double* f4, short* f5,
    double* f6, double* f7, double* f8, long* f9, long* f10, long* f11, long* f12, long* f13);
KV_API long GetDeliveryPropertiesMT(CKVCLProcess* session, long id, long* f1, short* f2, short* f3,
    double* f4, short* f5, double* f6, double* f7, double* f8, long* f9, long* f10, long* f11,
    long* f12, long* f13);

/* Extended fields f1-f14, f18-f21 via the summary (f9, f14 dates); f21 as in the summary's s34. */
KV_API long GetDeliveryPropertiesEx(long id, long* f1, short* f2, short* f3, double* f4, short* f5,
    double* f6, double* f7, double* f8, long* f9, long* f10, long* f11, long* f12, long* f13,
    long* f14, double* f18, double* f19, double* f20, long long* f21);
KV_API long GetDeliveryPropertiesExMT(CKVCLProcess* session, long id, long* f1, short* f2,
    short* f3, double* f4, short* f5, double* f6, double* f7, double* f8, long* f9, long* f10,
    long* f11, long* f12, long* f13, long* f14, double* f18, double* f19, double* f20,
    long long* f21);

/* Extended fields f1 to f22 via the summary (f9, f14 dates); f21 as in GetDeliveryPropertiesEx. */
KV_API long GetDeliveryPropertiesEx2(long id, long* f1, short* f2, short* f3, double* f4, short* f5,
    double* f6, double* f7, double* f8, long* f9, long* f10, long* f11, long* f12, long* f13,
    long* f14, double* f15, double* f16, double* f17, double* f18, double* f19, double* f20,
    long long* f21, long* f22);
KV_API long GetDeliveryPropertiesEx2MT(CKVCLProcess* session, long id, long* f1, short* f2,
    short* f3, double* f4, short* f5, double* f6, double* f7, double* f8, long* f9, long* f10,
    long* f11, long* f12, long* f13, long* f14, double* f15, double* f16, double* f17, double* f18,
    double* f19, double* f20, long long* f21, long* f22);

/* Extended fields f1 to f23 (f9, f14 dates). */
KV_API long GetDeliveryPropertiesEx3(long id, long* f1, short* f2, short* f3, double* f4, short* f5,
    double* f6, double* f7, double* f8, long* f9, long* f10, long* f11, long* f12, long* f13,
    long* f14, double* f15, double* f16, double* f17, double* f18, double* f19, double* f20,
    long long* f21, long* f22, long* f23);
KV_API long GetDeliveryPropertiesEx3MT(CKVCLProcess* session, long id, long* f1, short* f2,
    short* f3, double* f4, short* f5, double* f6, double* f7, double* f8, long* f9, long* f10,
    long* f11, long* f12, long* f13, long* f14, double* f15, double* f16, double* f17, double* f18,
    double* f19, double* f20, long long* f21, long* f22, long* f23);

/* Extended fields f1 to f24 (f9, f14 dates). */
KV_API long GetDeliveryPropertiesEx4(long id, long* f1, short* f2, short* f3, double* f4, short* f5,
    double* f6, double* f7, double* f8, long* f9, long* f10, long* f11, long* f12, long* f13,
    long* f14, double* f15, double* f16, double* f17, double* f18, double* f19, double* f20,
    long long* f21, long* f22, long* f23, double* f24);
KV_API long GetDeliveryPropertiesEx4MT(CKVCLProcess* session, long id, long* f1, short* f2,
    short* f3, double* f4, short* f5, double* f6, double* f7, double* f8, long* f9, long* f10,
    long* f11, long* f12, long* f13, long* f14, double* f15, double* f16, double* f17, double* f18,
    double* f19, double* f20, long long* f21, long* f22, long* f23, double* f24);

/* Summary fields s1-s27, s31-s34 (s22, s27 dates; s34: first non-negative of s34, s38, s43). */
KV_API long GetDeliverySummary(long id, long* s1, long* s2, long* s3, long* s4, long* s5, char* s6,
    long* s7, long* s8, char* s9, long* s10, long* s11, char* s12, char* s13, char* s14, short* s15,
    short* s16, double* s17, short* s18, double* s19, double* s20, double* s21, long* s22,
    long* s23, long* s24, long* s25, long* s26, long* s27, double* s31, double* s32, double* s33,
    long long* s34);
KV_API long GetDeliverySummaryMT(CKVCLProcess* session, long id, long* s1, long* s2, long* s3,
    long* s4, long* s5, char* s6, long* s7, long* s8, char* s9, long* s10, long* s11, char* s12,
    char* s13, char* s14, short* s15, short* s16, double* s17, short* s18, double* s19, double* s20,
    double* s21, long* s22, long* s23, long* s24, long* s25, long* s26, long* s27, double* s31,
    double* s32, double* s33, long long* s34);

/* Summary fields s1 to s35 (s22, s27 dates; s34 as in GetDeliverySummary). */
KV_API long GetDeliverySummaryEx(long id, long* s1, long* s2, long* s3, long* s4, long* s5,
    char* s6, long* s7, long* s8, char* s9, long* s10, long* s11, char* s12, char* s13, char* s14,
    short* s15, short* s16, double* s17, short* s18, double* s19, double* s20, double* s21,
    long* s22, long* s23, long* s24, long* s25, long* s26, long* s27, double* s28, double* s29,
    double* s30, double* s31, double* s32, double* s33, long long* s34, long* s35);
KV_API long GetDeliverySummaryExMT(CKVCLProcess* session, long id, long* s1, long* s2, long* s3,
    long* s4, long* s5, char* s6, long* s7, long* s8, char* s9, long* s10, long* s11, char* s12,
    char* s13, char* s14, short* s15, short* s16, double* s17, short* s18, double* s19, double* s20,
    double* s21, long* s22, long* s23, long* s24, long* s25, long* s26, long* s27, double* s28,
    double* s29, double* s30, double* s31, double* s32, double* s33, long long* s34, long* s35);

/* Summary fields s1 to s38, s40 to s43 (s22, s27 dates). */
KV_API long GetDeliverySummaryEx2(long id, long* s1, long* s2, long* s3, long* s4, long* s5,
    char* s6, long* s7, long* s8, char* s9, long* s10, long* s11, char* s12, char* s13, char* s14,
    short* s15, short* s16, double* s17, short* s18, double* s19, double* s20, double* s21,
    long* s22, long* s23, long* s24, long* s25, long* s26, long* s27, double* s28, double* s29,
    double* s30, double* s31, double* s32, double* s33, long long* s34, long* s35, long* s36,
    char* s37, long long* s38, long* s40, long* s41, char* s42, long long* s43);
KV_API long GetDeliverySummaryEx2MT(CKVCLProcess* session, long id, long* s1, long* s2, long* s3,
    long* s4, long* s5, char* s6, long* s7, long* s8, char* s9, long* s10, long* s11, char* s12,
    char* s13, char* s14, short* s15, short* s16, double* s17, short* s18, double* s19, double* s20,
    double* s21, long* s22, long* s23, long* s24, long* s25, long* s26, long* s27, double* s28,
    double* s29, double* s30, double* s31, double* s32, double* s33, long long* s34, long* s35,
    long* s36, char* s37, long long* s38, long* s40, long* s41, char* s42, long long* s43);

/* Summary fields s1 to s38, s40 to s43, s45 (s22, s27 dates). */
KV_API long GetDeliverySummaryEx3(long id, long* s1, long* s2, long* s3, long* s4, long* s5,
    char* s6, long* s7, long* s8, char* s9, long* s10, long* s11, char* s12, char* s13, char* s14,
    short* s15, short* s16, double* s17, short* s18, double* s19, double* s20, double* s21,
    long* s22, long* s23, long* s24, long* s25, long* s26, long* s27, double* s28, double* s29,
    double* s30, double* s31, double* s32, double* s33, long long* s34, long* s35, long* s36,
    char* s37, long long* s38, long* s40, long* s41, char* s42, long long* s43, double* s45);
KV_API long GetDeliverySummaryEx3MT(CKVCLProcess* session, long id, long* s1, long* s2, long* s3,
    long* s4, long* s5, char* s6, long* s7, long* s8, char* s9, long* s10, long* s11, char* s12,
    char* s13, char* s14, short* s15, short* s16, double* s17, short* s18, double* s19, double* s20,
    double* s21, long* s22, long* s23, long* s24, long* s25, long* s26, long* s27, double* s28,
    double* s29, double* s30, double* s31, double* s32, double* s33, long long* s34, long* s35,
    long* s36, char* s37, long long* s38, long* s40, long* s41, char* s42, long long* s43,
    double* s45);

/* Summary fields s1 to s45 (s22, s27 dates). */
KV_API long GetDeliverySummaryEx4(long id, long* s1, long* s2, long* s3, long* s4, long* s5,
    char* s6, long* s7, long* s8, char* s9, long* s10, long* s11, char* s12, char* s13, char* s14,
    short* s15, short* s16, double* s17, short* s18, double* s19, double* s20, double* s21,
    long* s22, long* s23, long* s24, long* s25, long* s26, long* s27, double* s28, double* s29,
    double* s30, double* s31, double* s32, double* s33, long long* s34, long* s35, long* s36,
    char* s37, long long* s38, char* s39, long* s40, long* s41, char* s42, long long* s43,
    char* s44, double* s45);
KV_API long GetDeliverySummaryEx4MT(CKVCLProcess* session, long id, long* s1, long* s2, long* s3,
    long* s4, long* s5, char* s6, long* s7, long* s8, char* s9, long* s10, long* s11, char* s12,
    char* s13, char* s14, short* s15, short* s16, double* s17, short* s18, double* s19, double* s20,
    double* s21, long* s22, long* s23, long* s24, long* s25, long* s26, long* s27, double* s28,
    double* s29, double* s30, double* s31, double* s32, double* s33, long long* s34, long* s35,
    long* s36, char* s37, long long* s38, char* s39, long* s40, long* s41, char* s42,
    long long* s43, char* s44, double* s45);

/* Short GetDeliverySummaryEx3: summary fields s1, s6, s15 to s26 (s22 a date), s35. */
KV_API long GetDeliverySummaryVFP(long id, long* s1, char* s6, short* s15, short* s16, double* s17,
    short* s18, double* s19, double* s20, double* s21, long* s22, long* s23, long* s24, long* s25,
    long* s26, long* s35);

/* Writes a delivery's base fields (f9 a date). */
KV_API long SetDeliveryProperties(long id, long f1, short f2, short f3, double f4, short f5,
    double f6, double f7, double f8, long f9, long f10, long f11, long f12, long f13);
KV_API long SetDeliveryPropertiesMT(CKVCLProcess* session, long id, long f1, short f2, short f3,
    double f4, short f5, double f6, double f7, double f8, long f9, long f10, long f11, long f12,
    long f13);

/* Writes extended fields f1-f14 (f9, f14 dates), f18-f20, f22, f23; f15-f17, f24 as 0, f21 -1. */
KV_API long SetDeliveryPropertiesEx(long id, long f1, short f2, short f3, double f4, short f5,
    double f6, double f7, double f8, long f9, long f10, long f11, long f12, long f13, long f14,
    double f18, double f19, double f20, long f22, long f23);
KV_API long SetDeliveryPropertiesExMT(CKVCLProcess* session, long id, long f1, short f2, short f3,
    double f4, short f5, double f6, double f7, double f8, long f9, long f10, long f11, long f12,
    long f13, long f14, double f18, double f19, double f20, long f22, long f23);

/* Writes extended fields f1 to f23 (f9, f14 dates), f21 given as a long; f24 goes as 0. */
KV_API long SetDeliveryPropertiesEx2(long id, long f1, short f2, short f3, double f4, short f5,
    double f6, double f7, double f8, long f9, long f10, long f11, long f12, long f13, long f14,
    double f15, double f16, double f17, double f18, double f19, double f20, long f21, long f22,
    long f23);
KV_API long SetDeliveryPropertiesEx2MT(CKVCLProcess* session, long id, long f1, short f2, short f3,
    double f4, short f5, double f6, double f7, double f8, long f9, long f10, long f11, long f12,
    long f13, long f14, double f15, double f16, double f17, double f18, double f19, double f20,
    long f21, long f22, long f23);

/* Writes extended fields f1 to f24 (f9, f14 dates), f21 as a long, f24 in whole units as a long. */
KV_API long SetDeliveryPropertiesEx3(long id, long f1, short f2, short f3, double f4, short f5,
    double f6, double f7, double f8, long f9, long f10, long f11, long f12, long f13, long f14,
    double f15, double f16, double f17, double f18, double f19, double f20, long f21, long f22,
    long f23, long f24);
KV_API long SetDeliveryPropertiesEx3MT(CKVCLProcess* session, long id, long f1, short f2, short f3,
    double f4, short f5, double f6, double f7, double f8, long f9, long f10, long f11, long f12,
    long f13, long f14, double f15, double f16, double f17, double f18, double f19, double f20,
    long f21, long f22, long f23, long f24);

/* Writes all 24 extended fields (f9, f14 dates). */
KV_API long SetDeliveryPropertiesEx4(long id, long f1, short f2, short f3, double f4, short f5,
    double f6, double f7, double f8, long f9, long f10, long f11, long f12, long f13, long f14,
    double f15, double f16, double f17, double f18, double f19, double f20, long long f21, long f22,
    long f23, double f24);
KV_API long SetDeliveryPropertiesEx4MT(CKVCLProcess* session, long id, long f1, short f2, short f3,
    double f4, short f5, double f6, double f7, double f8, long f9, long f10, long f11, long f12,
    long f13, long f14, double f15, double f16, double f17, double f18, double f19, double f20,
    long long f21, long f22, long f23, double f24);

/* ---- Hoses ----------------------------------------------------------------------------------- */

/* Number of hoses. */
KV_API long GetHosesCount(long* count);
KV_API long GetHosesCountMT(CKVCLProcess* session, long* count);

/* ID of the hose at a position of the server's list. */
KV_API long GetHoseByOrdinal(long ordinal, long* id);
KV_API long GetHoseByOrdinalMT(CKVCLProcess* session, long ordinal, long* id);

/* ID of the hose with this number. */
KV_API long GetHoseByNumber(long number, long* id);
KV_API long GetHoseByNumberMT(CKVCLProcess* session, long number, long* id);

/* ID of the hose with this name. */
KV_API long GetHoseByName(const char* name, long* id);
KV_API long GetHoseByNameMT(CKVCLProcess* session, const char* name, long* id);

/* Deletes a hose. */
KV_API long DeleteHose(long id);
KV_API long DeleteHoseMT(CKVCLProcess* session, long id);

/* Creates a hose with the ID, number and name given (1: the ID exists). */
KV_API long NewHose(long id, long number, const char* name);
KV_API long NewHoseMT(CKVCLProcess* session, long id, long number, const char* name);

/* Gives a hose another number. */
KV_API long SetHoseNumber(long id, long number);
KV_API long SetHoseNumberMT(CKVCLProcess* session, long id, long number);

/* Gives a hose another name. */
KV_API long SetHoseName(long id, const char* name);
KV_API long SetHoseNameMT(CKVCLProcess* session, long id, const char* name);

/* A hose's configuration: number, name, pump, number on the pump, grade, tank (outputs). */
KV_API long GetHoseProperties(long id, long* number, char* name, long* pumpId, long* pumpHoseNumber,
    long* gradeId, long* tankId);
KV_API long GetHosePropertiesMT(CKVCLProcess* session, long id, long* number, char* name,
    long* pumpId, long* pumpHoseNumber, long* gradeId, long* tankId);

/* Writes a hose's configuration. */
KV_API long SetHoseProperties(long id, long number, const char* name, long pumpId,
    long pumpHoseNumber, long gradeId, long tankId);
KV_API long SetHosePropertiesMT(CKVCLProcess* session, long id, long number, const char* name,
    long pumpId, long pumpHoseNumber, long gradeId, long tankId);

/* Number of hoses on a pump, of a grade and of a tank (-1 matches any). */
KV_API long GetHosesCountFiltered(long* count, long pumpId, long gradeId, long tankId);
KV_API long GetHosesCountFilteredMT(CKVCLProcess* session, long* count, long pumpId, long gradeId,
    long tankId);

/* ID of the hose at a position among those that match the filter. */
KV_API long GetHoseIDByOrdinalFiltered(long ordinal, long* id, long pumpId, long gradeId,
    long tankId);
KV_API long GetHoseIDByOrdinalFilteredMT(CKVCLProcess* session, long ordinal, long* id, long pumpId,
    long gradeId, long tankId);

/* A hose's electronic volume and money totals, now and at the save before (outputs). */
KV_API long GetHoseTotals(long id, double* volume, double* money, double* previousVolume,
    double* previousMoney);
KV_API long GetHoseTotalsMT(CKVCLProcess* session, long id, double* volume, double* money,
    double* previousVolume, double* previousMoney);

/* The unit price in force on a hose at price level 1 or 2 (output). */
KV_API long GetHosePrice(long id, short level, double* price);
KV_API long GetHosePriceMT(CKVCLProcess* session, long id, short level, double* price);

/* ---- Grades ---------------------------------------------------------------------------------- */

/* Number of grades. */
KV_API long GetGradesCount(long* count);
KV_API long GetGradesCountMT(CKVCLProcess* session, long* count);

/* ID of the grade at a position of the server's list. */
KV_API long GetGradeByOrdinal(long ordinal, long* id);
KV_API long GetGradeByOrdinalMT(CKVCLProcess* session, long ordinal, long* id);

/* ID of the grade with this number. */
KV_API long GetGradeByNumber(long number, long* id);
KV_API long GetGradeByNumberMT(CKVCLProcess* session, long number, long* id);

/* ID of the grade with this name. */
KV_API long GetGradeByName(const char* name, long* id);
KV_API long GetGradeByNameMT(CKVCLProcess* session, const char* name, long* id);

/* Deletes a grade. */
KV_API long DeleteGrade(long id);
KV_API long DeleteGradeMT(CKVCLProcess* session, long id);

/* Creates a grade with the ID, number and name given (1: the ID exists). */
KV_API long NewGrade(long id, long number, const char* name);
KV_API long NewGradeMT(CKVCLProcess* session, long id, long number, const char* name);

/* Gives a grade another number. */
KV_API long SetGradeNumber(long id, long number);
KV_API long SetGradeNumberMT(CKVCLProcess* session, long id, long number);

/* Gives a grade another name. */
KV_API long SetGradeName(long id, const char* name);
KV_API long SetGradeNameMT(CKVCLProcess* session, long id, const char* name);

/* A grade's configuration: number, names, product, prices at levels 1 and 2 (outputs). */
KV_API long GetGradeProperties(long id, long* number, char* name, char* shortName, long* productId,
    double* price1, double* price2);
KV_API long GetGradePropertiesMT(CKVCLProcess* session, long id, long* number, char* name,
    char* shortName, long* productId, double* price1, double* price2);

/* Writes a grade's configuration. */
KV_API long SetGradeProperties(long id, long number, const char* name, const char* shortName,
    long productId, double price1, double price2);
KV_API long SetGradePropertiesMT(CKVCLProcess* session, long id, long number, const char* name,
    const char* shortName, long productId, double price1, double price2);

/* A grade's unit price at price level 1 or 2 (output). */
KV_API long GetGradePrice(long id, short level, double* price);
KV_API long GetGradePriceMT(CKVCLProcess* session, long id, short level, double* price);

/* Sets a grade's unit price at price level 1 or 2. */
KV_API long SetGradePrice(long id, short level, double price);
KV_API long SetGradePriceMT(CKVCLProcess* session, long id, short level, double price);

/* ---- Products -------------------------------------------------------------------------------- */

/* Number of products. */
KV_API long GetProductsCount(long* count);
KV_API long GetProductsCountMT(CKVCLProcess* session, long* count);

/* ID of the product at a position of the server's list. */
KV_API long GetProductByOrdinal(long ordinal, long* id);
KV_API long GetProductByOrdinalMT(CKVCLProcess* session, long ordinal, long* id);

/* ID of the product with this number. */
KV_API long GetProductByNumber(long number, long* id);
KV_API long GetProductByNumberMT(CKVCLProcess* session, long number, long* id);

/* ID of the product with this name. */
KV_API long GetProductByName(const char* name, long* id);
KV_API long GetProductByNameMT(CKVCLProcess* session, const char* name, long* id);

/* Deletes a product. */
KV_API long DeleteProduct(long id);
KV_API long DeleteProductMT(CKVCLProcess* session, long id);

/* Creates a product with the ID, number and name given (1: the ID exists). */
KV_API long NewProduct(long id, long number, const char* name);
KV_API long NewProductMT(CKVCLProcess* session, long id, long number, const char* name);

/* Gives a product another number. */
KV_API long SetProductNumber(long id, long number);
KV_API long SetProductNumberMT(CKVCLProcess* session, long id, long number);

/* Gives a product another name. */
KV_API long SetProductName(long id, const char* name);
KV_API long SetProductNameMT(CKVCLProcess* session, long id, const char* name);

/* A product's configuration (outputs). */
KV_API long GetProductProperties(long id, long* number, char* f2, char* f3, short* f4, char* f5,
    char* f6, long* f7, double* f8, double* f9, double* f10, double* f11, long* f12);
KV_API long GetProductPropertiesMT(CKVCLProcess* session, long id, long* number, char* f2, char* f3,
    short* f4, char* f5, char* f6, long* f7, double* f8, double* f9, double* f10, double* f11,
    long* f12);

/* Writes a product's configuration. */
KV_API long SetProductProperties(long id, long number, const char* f2, const char* f3, short f4,
    const char* f5, const char* f6, long f7, double f8, double f9, double f10, double f11,
    long f12);
KV_API long SetProductPropertiesMT(CKVCLProcess* session, long id, long number, const char* f2,
    const char* f3, short f4, const char* f5, const char* f6, long f7, double f8, double f9,
    double f10, double f11, long f12);

/* Number of products that match the filter. */
KV_API long GetProductsCountFiltered(long* count, long filter1, const char* filter2,
    const char* filter3, const char* filter4, const char* filter5, long filter6, long filter7);
KV_API long GetProductsCountFilteredMT(CKVCLProcess* session, long* count, long filter1,
    const char* filter2, const char* filter3, const char* filter4, const char* filter5,
    long filter6, long filter7);

/* ID of the product at a position among those that match the filter. */
KV_API long GetProductIDByOrdinalFiltered(long ordinal, long* id, long filter1, const char* filter2,
    const char* filter3, const char* filter4, const char* filter5, long filter6, long filter7);
KV_API long GetProductIDByOrdinalFilteredMT(CKVCLProcess* session, long ordinal, long* id,
    long filter1, const char* filter2, const char* filter3, const char* filter4,
    const char* filter5, long filter6, long filter7);

/* ---- Tanks ----------------------------------------------------------------------------------- */

/* Number of tanks. */
KV_API long GetTanksCount(long* count);
KV_API long GetTanksCountMT(CKVCLProcess* session, long* count);

/* ID of the tank at a position of the server's list. */
KV_API long GetTankByOrdinal(long ordinal, long* id);
KV_API long GetTankByOrdinalMT(CKVCLProcess* session, long ordinal, long* id);

/* ID of the tank with this number. */
KV_API long GetTankByNumber(long number, long* id);
KV_API long GetTankByNumberMT(CKVCLProcess* session, long number, long* id);

/* ID of the tank with this name. */
KV_API long GetTankByName(const char* name, long* id);
KV_API long GetTankByNameMT(CKVCLProcess* session, const char* name, long* id);

/* Deletes a tank. */
KV_API long DeleteTank(long id);
KV_API long DeleteTankMT(CKVCLProcess* session, long id);

/* Creates a tank with the ID, number and name given (1: the ID exists). */
KV_API long NewTank(long id, long number, const char* name);
KV_API long NewTankMT(CKVCLProcess* session, long id, long number, const char* name);

/* Gives a tank another number. */
KV_API long SetTankNumber(long id, long number);
KV_API long SetTankNumberMT(CKVCLProcess* session, long id, long number);

/* Gives a tank another name. */
KV_API long SetTankName(long id, const char* name);
KV_API long SetTankNameMT(CKVCLProcess* session, long id, const char* name);

/* A tank's configuration: number, name, grade, capacities, gauge number, port (outputs). */
KV_API long GetTankProperties(long id, long* number, char* name, long* gradeId, double* capacity,
    double* gaugeCapacity, long* gaugeNumber, long* portId);
KV_API long GetTankPropertiesMT(CKVCLProcess* session, long id, long* number, char* name,
    long* gradeId, double* capacity, double* gaugeCapacity, long* gaugeNumber, long* portId);

/* Writes a tank's configuration. */
KV_API long SetTankProperties(long id, long number, const char* name, long gradeId, double capacity,
    double gaugeCapacity, long gaugeNumber, long portId);
KV_API long SetTankPropertiesMT(CKVCLProcess* session, long id, long number, const char* name,
    long gradeId, double capacity, double gaugeCapacity, long gaugeNumber, long portId);

/* A tank's last reading: levels, temperature, volumes, gauge state, alarms (outputs). */
KV_API long GetTankStatus(long id, double* productLevel, double* waterLevel, double* temperature,
    double* grossVolume, double* waterVolume, double* ullage, double* netVolume, short* gaugeState,
    short* alarms, short* responding);
KV_API long GetTankStatusMT(CKVCLProcess* session, long id, double* productLevel,
    double* waterLevel, double* temperature, double* grossVolume, double* waterVolume,
    double* ullage, double* netVolume, short* gaugeState, short* alarms, short* responding);

/* Asks a tank's gauge for a fresh reading. */
KV_API long ReadTank(long id);
KV_API long ReadTankMT(CKVCLProcess* session, long id);

/* Number of points in a tank's strapping table. */
KV_API long GetTankStrappingTableSize(long id, long* size);
KV_API long GetTankStrappingTableSizeMT(CKVCLProcess* session, long id, long* size);

/* One point (0-based index) of a tank's strapping table (outputs). */
KV_API long GetTankStrappingPoint(long id, long index, double* level, double* volume);
KV_API long GetTankStrappingPointMT(CKVCLProcess* session, long id, long index, double* level,
    double* volume);

/* Sets one point of a tank's strapping table (index = size appends). */
KV_API long SetTankStrappingPoint(long id, long index, double level, double volume);
KV_API long SetTankStrappingPointMT(CKVCLProcess* session, long id, long index, double level,
    double volume);

/* Empties a tank's strapping table. */
KV_API long ClearTankStrappingTable(long id);
KV_API long ClearTankStrappingTableMT(CKVCLProcess* session, long id);

/* ---- Sensors --------------------------------------------------------------------------------- */

/* Number of sensors. */
KV_API long GetSensorsCount(long* count);
KV_API long GetSensorsCountMT(CKVCLProcess* session, long* count);

/* ID of the sensor at a position of the server's list. */
KV_API long GetSensorByOrdinal(long ordinal, long* id);
KV_API long GetSensorByOrdinalMT(CKVCLProcess* session, long ordinal, long* id);

/* ID of the sensor with this number. */
KV_API long GetSensorByNumber(long number, long* id);
KV_API long GetSensorByNumberMT(CKVCLProcess* session, long number, long* id);

/* ID of the sensor with this name. */
KV_API long GetSensorByName(const char* name, long* id);
KV_API long GetSensorByNameMT(CKVCLProcess* session, const char* name, long* id);

/* Deletes a sensor. */
KV_API long DeleteSensor(long id);
KV_API long DeleteSensorMT(CKVCLProcess* session, long id);

/* Creates a sensor with the ID, number and name given (1: the ID exists). */
KV_API long NewSensor(long id, long number, const char* name);
KV_API long NewSensorMT(CKVCLProcess* session, long id, long number, const char* name);

/* Gives a sensor another number. */
KV_API long SetSensorNumber(long id, long number);
KV_API long SetSensorNumberMT(CKVCLProcess* session, long id, long number);

/* Gives a sensor another name. */
KV_API long SetSensorName(long id, const char* name);
KV_API long SetSensorNameMT(CKVCLProcess* session, long id, const char* name);

/* A sensor's configuration (outputs). */
KV_API long GetSensorProperties(long id, long* number, char* f2, long* f3, short* f4, short* f5,
    short* f6, long* f7, long* f8);
KV_API long GetSensorPropertiesMT(CKVCLProcess* session, long id, long* number, char* f2, long* f3,
    short* f4, short* f5, short* f6, long* f7, long* f8);

/* Writes a sensor's configuration. */
KV_API long SetSensorProperties(long id, long number, const char* f2, long f3, short f4, short f5,
    short f6, long f7, long f8);
KV_API long SetSensorPropertiesMT(CKVCLProcess* session, long id, long number, const char* f2,
    long f3, short f4, short f5, short f6, long f7, long f8);

/* A sensor's two status values (outputs). */
KV_API long GetSensorStatus(long id, short* a1, short* a2);
KV_API long GetSensorStatusMT(CKVCLProcess* session, long id, short* a1, short* a2);

/* ---- Ports ----------------------------------------------------------------------------------- */

/* Number of ports. */
KV_API long GetPortsCount(long* count);
KV_API long GetPortsCountMT(CKVCLProcess* session, long* count);

/* ID of the port at a position of the server's list. */
KV_API long GetPortByOrdinal(long ordinal, long* id);
KV_API long GetPortByOrdinalMT(CKVCLProcess* session, long ordinal, long* id);

/* ID of the port with this number. */
KV_API long GetPortByNumber(long number, long* id);
KV_API long GetPortByNumberMT(CKVCLProcess* session, long number, long* id);

/* ID of the port with this name. */
KV_API long GetPortByName(const char* name, long* id);
KV_API long GetPortByNameMT(CKVCLProcess* session, const char* name, long* id);

/* Deletes a port. */
KV_API long DeletePort(long id);
KV_API long DeletePortMT(CKVCLProcess* session, long id);

/* Creates a port with the ID, number and name given (1: the ID exists). */
KV_API long NewPort(long id, long number, const char* name);
KV_API long NewPortMT(CKVCLProcess* session, long id, long number, const char* name);

/* Gives a port another number. */
KV_API long SetPortNumber(long id, long number);
KV_API long SetPortNumberMT(CKVCLProcess* session, long id, long number);

/* Gives a port another name. */
KV_API long SetPortName(long id, const char* name);
KV_API long SetPortNameMT(CKVCLProcess* session, long id, const char* name);

/* A port's configuration: number, name, device, line settings, type, protocol, on (outputs). */
KV_API long GetPortProperties(long id, long* number, char* name, char* device, char* settings,
    short* type, short* protocol, short* enabled);
KV_API long GetPortPropertiesMT(CKVCLProcess* session, long id, long* number, char* name,
    char* device, char* settings, short* type, short* protocol, short* enabled);

/* Writes a port's configuration. */
KV_API long SetPortProperties(long id, long number, const char* name, const char* device,
    const char* settings, short type, short protocol, short enabled);
KV_API long SetPortPropertiesMT(CKVCLProcess* session, long id, long number, const char* name,
    const char* device, const char* settings, short type, short protocol, short enabled);

/* A port's link state, last error and message counts (outputs). */
KV_API long GetPortStatus(long id, short* state, short* lastError, long* goodMessages,
    long* badMessages);
KV_API long GetPortStatusMT(CKVCLProcess* session, long id, short* state, short* lastError,
    long* goodMessages, long* badMessages);

/* Closes and reopens a port. */
KV_API long ResetPort(long id);
KV_API long ResetPortMT(CKVCLProcess* session, long id);

/* The ZigBee PAN ID, channel mask and network key halves of a port's coordinator (outputs). */
KV_API long GetPortZBConfig(long id, long long* panId, long* channels, long long* keyHigh,
    long long* keyLow);
KV_API long GetPortZBConfigMT(CKVCLProcess* session, long id, long long* panId, long* channels,
    long long* keyHigh, long long* keyLow);

/* ---- Attendants ------------------------------------------------------------------------------ */

/* Number of attendants. */
KV_API long GetAttendantsCount(long* count);
KV_API long GetAttendantsCountMT(CKVCLProcess* session, long* count);

/* ID of the attendant at a position of the server's list. */
KV_API long GetAttendantByOrdinal(long ordinal, long* id);
KV_API long GetAttendantByOrdinalMT(CKVCLProcess* session, long ordinal, long* id);

/* ID of the attendant with this number. */
KV_API long GetAttendantByNumber(long number, long* id);
KV_API long GetAttendantByNumberMT(CKVCLProcess* session, long number, long* id);

/* ID of the attendant with this name. */
KV_API long GetAttendantByName(const char* name, long* id);
KV_API long GetAttendantByNameMT(CKVCLProcess* session, const char* name, long* id);

/* Deletes an attendant. */
KV_API long DeleteAttendant(long id);
KV_API long DeleteAttendantMT(CKVCLProcess* session, long id);

/* Creates an attendant with the ID, number and name given (1: the ID exists). */
KV_API long NewAttendant(long id, long number, const char* name);
KV_API long NewAttendantMT(CKVCLProcess* session, long id, long number, const char* name);

/* Gives an attendant another number. */
KV_API long SetAttendantNumber(long id, long number);
KV_API long SetAttendantNumberMT(CKVCLProcess* session, long id, long number);

/* Gives an attendant another name. */
KV_API long SetAttendantName(long id, const char* name);
KV_API long SetAttendantNameMT(CKVCLProcess* session, long id, const char* name);

/* An attendant's configuration (outputs). */
KV_API long GetAttendantProperties(long id, long* number, char* f2, char* f3, char* f4, char* f5,
    char* f6, short* f7, short* f8, short* f9, short* f10, short* f11);
KV_API long GetAttendantPropertiesMT(CKVCLProcess* session, long id, long* number, char* f2,
    char* f3, char* f4, char* f5, char* f6, short* f7, short* f8, short* f9, short* f10,
    short* f11);

/* Writes an attendant's configuration. */
KV_API long SetAttendantProperties(long id, long number, const char* f2, const char* f3,
    const char* f4, const char* f5, const char* f6, short f7, short f8, short f9, short f10,
    short f11);
KV_API long SetAttendantPropertiesMT(CKVCLProcess* session, long id, long number, const char* f2,
    const char* f3, const char* f4, const char* f5, const char* f6, short f7, short f8, short f9,
    short f10, short f11);

/* Logs an attendant on. */
KV_API long AttendantLogon(long id, long a1);
KV_API long AttendantLogonMT(CKVCLProcess* session, long id, long a1);

/* Logs an attendant off. */
KV_API long AttendantLogoff(long id);
KV_API long AttendantLogoffMT(CKVCLProcess* session, long id);

/* An attendant's two state values (outputs). */
KV_API long GetAttendantState(long id, short* a1, short* a2);
KV_API long GetAttendantStateMT(CKVCLProcess* session, long id, short* a1, short* a2);

/* ---- Card clients ---------------------------------------------------------------------------- */

/* Number of card clients. */
KV_API long GetCardClientsCount(long* count);
KV_API long GetCardClientsCountMT(CKVCLProcess* session, long* count);

/* ID of the card client at a position of the server's list. */
KV_API long GetCardClientByOrdinal(long ordinal, long* id);
KV_API long GetCardClientByOrdinalMT(CKVCLProcess* session, long ordinal, long* id);

/* ID of the card client with this number. */
KV_API long GetCardClientByNumber(long number, long* id);
KV_API long GetCardClientByNumberMT(CKVCLProcess* session, long number, long* id);

/* ID of the card client with this name. */
KV_API long GetCardClientByName(const char* name, long* id);
KV_API long GetCardClientByNameMT(CKVCLProcess* session, const char* name, long* id);

/* Deletes a card client. */
KV_API long DeleteCardClient(long id);
KV_API long DeleteCardClientMT(CKVCLProcess* session, long id);

/* Creates a card client with the ID, number and name given (1: the ID exists). */
KV_API long NewCardClient(long id, long number, const char* name);
KV_API long NewCardClientMT(CKVCLProcess* session, long id, long number, const char* name);

/* Gives a card client another number. */
KV_API long SetCardClientNumber(long id, long number);
KV_API long SetCardClientNumberMT(CKVCLProcess* session, long id, long number);

/* Gives a card client another name. */
KV_API long SetCardClientName(long id, const char* name);
KV_API long SetCardClientNameMT(CKVCLProcess* session, long id, const char* name);

/* A card client's fields (outputs; f15 a date). */
KV_API long GetCardClientProperties(long id, long* number, char* f2, char* f3, short* f4, short* f5,
    char* f6, char* f7, char* f8, char* f9, short* f10, short* f11, short* f12, double* f13,
    short* f14, long* f15, long* f16, char* f17, double* f18, long* f19);
KV_API long GetCardClientPropertiesMT(CKVCLProcess* session, long id, long* number, char* f2,
    char* f3, short* f4, short* f5, char* f6, char* f7, char* f8, char* f9, short* f10, short* f11,
    short* f12, double* f13, short* f14, long* f15, long* f16, char* f17, double* f18, long* f19);

/* Writes a card client's configuration (f15 a date). */
KV_API long SetCardClientProperties(long id, long number, const char* f2, const char* f3, short f4,
    short f5, const char* f6, const char* f7, const char* f8, const char* f9, short f10, short f11,
    short f12, double f13, short f14, long f15, long f16, const char* f17, double f18, long f19);
KV_API long SetCardClientPropertiesMT(CKVCLProcess* session, long id, long number, const char* f2,
    const char* f3, short f4, short f5, const char* f6, const char* f7, const char* f8,
    const char* f9, short f10, short f11, short f12, double f13, short f14, long f15, long f16,
    const char* f17, double f18, long f19);

/* ---- Card reads ------------------------------------------------------------------------------ */

/* Number of card reads. */
KV_API long GetCardReadsCount(long* count);
KV_API long GetCardReadsCountMT(CKVCLProcess* session, long* count);

/* ID of the card read at a position of the server's list. */
KV_API long GetCardReadByOrdinal(long ordinal, long* id);
KV_API long GetCardReadByOrdinalMT(CKVCLProcess* session, long ordinal, long* id);

/* ID of the card read with this number. */
KV_API long GetCardReadByNumber(long number, long* id);
KV_API long GetCardReadByNumberMT(CKVCLProcess* session, long number, long* id);

/* ID of the card read with this name. */
KV_API long GetCardReadByName(const char* name, long* id);
KV_API long GetCardReadByNameMT(CKVCLProcess* session, const char* name, long* id);

/* Deletes a card read. */
KV_API long DeleteCardRead(long id);
KV_API long DeleteCardReadMT(CKVCLProcess* session, long id);

/* Creates a card read with the ID, number and name given (1: the ID exists). */
KV_API long NewCardRead(long id, long number, const char* name);
KV_API long NewCardReadMT(CKVCLProcess* session, long id, long number, const char* name);

/* Gives a card read another number. */
KV_API long SetCardReadNumber(long id, long number);
KV_API long SetCardReadNumberMT(CKVCLProcess* session, long id, long number);

/* Gives a card read another name. */
KV_API long SetCardReadName(long id, const char* name);
KV_API long SetCardReadNameMT(CKVCLProcess* session, long id, const char* name);

/* A card read's fields (outputs; f7 a date). */
KV_API long GetCardReadProperties(long id, long* number, char* f2, long* f3, short* f4, long* f5,
    long long* f6, long* f7);
KV_API long GetCardReadPropertiesMT(CKVCLProcess* session, long id, long* number, char* f2,
    long* f3, short* f4, long* f5, long long* f6, long* f7);

/* Writes a card read's configuration (f7 a date). */
KV_API long SetCardReadProperties(long id, long number, const char* f2, long f3, short f4, long f5,
    long long f6, long f7);
KV_API long SetCardReadPropertiesMT(CKVCLProcess* session, long id, long number, const char* f2,
    long f3, short f4, long f5, long long f6, long f7);

/* ---- ZigBee devices -------------------------------------------------------------------------- */

/* Number of ZigBee devices. */
KV_API long GetZigBeesCount(long* count);
KV_API long GetZigBeesCountMT(CKVCLProcess* session, long* count);

/* ID of the ZigBee device at a position of the server's list. */
KV_API long GetZigBeeByOrdinal(long ordinal, long* id);
KV_API long GetZigBeeByOrdinalMT(CKVCLProcess* session, long ordinal, long* id);

/* ID of the ZigBee device with this number. */
KV_API long GetZigBeeByNumber(long number, long* id);
KV_API long GetZigBeeByNumberMT(CKVCLProcess* session, long number, long* id);

/* ID of the ZigBee device with this name. */
KV_API long GetZigBeeByName(const char* name, long* id);
KV_API long GetZigBeeByNameMT(CKVCLProcess* session, const char* name, long* id);

/* Deletes a ZigBee device. */
KV_API long DeleteZigBee(long id);
KV_API long DeleteZigBeeMT(CKVCLProcess* session, long id);

/* Creates a ZigBee device with the ID, number and name given (1: the ID exists). */
KV_API long NewZigBee(long id, long number, const char* name);
KV_API long NewZigBeeMT(CKVCLProcess* session, long id, long number, const char* name);

/* Gives a ZigBee device another number. */
KV_API long SetZigBeeNumber(long id, long number);
KV_API long SetZigBeeNumberMT(CKVCLProcess* session, long id, long number);

/* Gives a ZigBee device another name. */
KV_API long SetZigBeeName(long id, const char* name);
KV_API long SetZigBeeNameMT(CKVCLProcess* session, long id, const char* name);

/* A ZigBee device's configuration (outputs). */
KV_API long GetZigBeeProperties(long id, long* number, char* f2, short* f3, char* f4, char* f5,
    long* f6);
KV_API long GetZigBeePropertiesMT(CKVCLProcess* session, long id, long* number, char* f2, short* f3,
    char* f4, char* f5, long* f6);

/* Writes a ZigBee device's configuration. */
KV_API long SetZigBeeProperties(long id, long number, const char* f2, short f3, const char* f4,
    const char* f5, long f6);
KV_API long SetZigBeePropertiesMT(CKVCLProcess* session, long id, long number, const char* f2,
    short f3, const char* f4, const char* f5, long f6);

/* ---- Sale items ------------------------------------------------------------------------------ */

/* Number of sale items. */
KV_API long GetSaleItemsCount(long* count);
KV_API long GetSaleItemsCountMT(CKVCLProcess* session, long* count);

/* ID of the sale item at a position of the server's list. */
KV_API long GetSaleItemByOrdinal(long ordinal, long* id);
KV_API long GetSaleItemByOrdinalMT(CKVCLProcess* session, long ordinal, long* id);

/* ID of the sale item with this number. */
KV_API long GetSaleItemByNumber(long number, long* id);
KV_API long GetSaleItemByNumberMT(CKVCLProcess* session, long number, long* id);

/* ID of the sale item with this name. */
KV_API long GetSaleItemByName(const char* name, long* id);
KV_API long GetSaleItemByNameMT(CKVCLProcess* session, const char* name, long* id);

/* Deletes a sale item. */
KV_API long DeleteSaleItem(long id);
KV_API long DeleteSaleItemMT(CKVCLProcess* session, long id);

/* Creates a sale item with the ID, number and name given (1: the ID exists). */
KV_API long NewSaleItem(long id, long number, const char* name);
KV_API long NewSaleItemMT(CKVCLProcess* session, long id, long number, const char* name);

/* Gives a sale item another number. */
KV_API long SetSaleItemNumber(long id, long number);
KV_API long SetSaleItemNumberMT(CKVCLProcess* session, long id, long number);

/* Gives a sale item another name. */
KV_API long SetSaleItemName(long id, const char* name);
KV_API long SetSaleItemNameMT(CKVCLProcess* session, long id, const char* name);

/* A sale item's fields (outputs; f8, f9 dates). */
KV_API long GetSaleItemProperties(long id, long* number, long* f2, long* f3, long* f4, short* f5,
    double* f6, double* f7, long* f8, long* f9, long* f10, long* f11, short* f12, short* f13,
    char* f14, char* f15, char* f16, char* f17, short* f18);
KV_API long GetSaleItemPropertiesMT(CKVCLProcess* session, long id, long* number, long* f2,
    long* f3, long* f4, short* f5, double* f6, double* f7, long* f8, long* f9, long* f10, long* f11,
    short* f12, short* f13, char* f14, char* f15, char* f16, char* f17, short* f18);

/* Writes a sale item's configuration (f8, f9 dates). */
KV_API long SetSaleItemProperties(long id, long number, long f2, long f3, long f4, short f5,
    double f6, double f7, long f8, long f9, long f10, long f11, short f12, short f13,
    const char* f14, const char* f15, const char* f16, const char* f17, short f18);
KV_API long SetSaleItemPropertiesMT(CKVCLProcess* session, long id, long number, long f2, long f3,
    long f4, short f5, double f6, double f7, long f8, long f9, long f10, long f11, short f12,
    short f13, const char* f14, const char* f15, const char* f16, const char* f17, short f18);

/* Number of sale items that match the filter, with no date limit. */
KV_API long GetSaleItemsCountFiltered(long* count, long filter1, long filter2, long filter3,
    long filter4, long filter5, long filter6, long long filter7, long filter8, long filter9,
    long long filter10, long filter11, long filter12, short filter13, short filter14);
KV_API long GetSaleItemsCountFilteredMT(CKVCLProcess* session, long* count, long filter1,
    long filter2, long filter3, long filter4, long filter5, long filter6, long long filter7,
    long filter8, long filter9, long long filter10, long filter11, long filter12, short filter13,
    short filter14);

/* Number of sale items that match the filter between two dates (0: no limit). */
KV_API long GetSaleItemsCountFilteredEx(long* count, long filter1, long filter2, long filter3,
    long filter4, long filter5, long filter6, long long filter7, long filter8, long filter9,
    long long filter10, long filter11, long filter12, short filter13, short filter14, long from,
    long to);
KV_API long GetSaleItemsCountFilteredExMT(CKVCLProcess* session, long* count, long filter1,
    long filter2, long filter3, long filter4, long filter5, long filter6, long long filter7,
    long filter8, long filter9, long long filter10, long filter11, long filter12, short filter13,
    short filter14, long from, long to);

/* ID of the sale item at a position among those that match the filter, with no date limit. */
KV_API long GetSaleItemIDByOrdinalFiltered(long ordinal, long* id, long filter1, long filter2,
    long filter3, long filter4, long filter5, long filter6, long long filter7, long filter8,
    long filter9, long long filter10, long filter11, long filter12, short filter13, short filter14);
KV_API long GetSaleItemIDByOrdinalFilteredMT(CKVCLProcess* session, long ordinal, long* id,
    long filter1, long filter2, long filter3, long filter4, long filter5, long filter6,
    long long filter7, long filter8, long filter9, long long filter10, long filter11, long filter12,
    short filter13, short filter14);

/* ID of the sale item at a position among those that match the filter between two dates. */
KV_API long GetSaleItemIDByOrdinalFilteredEx(long ordinal, long* id, long filter1, long filter2,
    long filter3, long filter4, long filter5, long filter6, long long filter7, long filter8,
    long filter9, long long filter10, long filter11, long filter12, short filter13, short filter14,
    long from, long to);
KV_API long GetSaleItemIDByOrdinalFilteredExMT(CKVCLProcess* session, long ordinal, long* id,
    long filter1, long filter2, long filter3, long filter4, long filter5, long filter6,
    long long filter7, long filter8, long filter9, long long filter10, long filter11, long filter12,
    short filter13, short filter14, long from, long to);

/* A sale item's summary, 32 values (outputs; f22, f23 dates). */
KV_API long GetSaleItemSummary(long id, long* f1, long* f2, char* f3, long long* f4, long* f5,
    char* f6, char* f7, long* f8, long* f9, char* f10, long* f11, long* f12, char* f13,
    long long* f14, long* f15, long* f16, char* f17, long long* f18, short* f19, double* f20,
    double* f21, long* f22, long* f23, long* f24, long* f25, short* f26, short* f27, char* f28,
    char* f29, char* f30, char* f31, short* f32);
KV_API long GetSaleItemSummaryMT(CKVCLProcess* session, long id, long* f1, long* f2, char* f3,
    long long* f4, long* f5, char* f6, char* f7, long* f8, long* f9, char* f10, long* f11,
    long* f12, char* f13, long long* f14, long* f15, long* f16, char* f17, long long* f18,
    short* f19, double* f20, double* f21, long* f22, long* f23, long* f24, long* f25, short* f26,
    short* f27, char* f28, char* f29, char* f30, char* f31, short* f32);

/* Locks a sale item for this client. */
KV_API long LockSaleItem(long id);
KV_API long LockSaleItemMT(CKVCLProcess* session, long id);

/* Unlocks a sale item. */
KV_API long UnlockSaleItem(long id);
KV_API long UnlockSaleItemMT(CKVCLProcess* session, long id);

/* Clears (settles) a sale item. */
KV_API long ClearSaleItem(long id);
KV_API long ClearSaleItemMT(CKVCLProcess* session, long id);

/* Locks and clears a sale item in one call. */
KV_API long LockAndClearSaleItem(long id);
KV_API long LockAndClearSaleItemMT(CKVCLProcess* session, long id);

/* Acknowledges that a sale item is logged to the database. */
KV_API long AckSaleItemDBLog(long id);
KV_API long AckSaleItemDBLogMT(CKVCLProcess* session, long id);

/* Acknowledges that a sale item is logged to the volume records. */
KV_API long AckSaleItemVolLog(long id);
KV_API long AckSaleItemVolLogMT(CKVCLProcess* session, long id);

/* ---- Log events ------------------------------------------------------------------------------ */

/* Number of log events. */
KV_API long GetLogEventsCount(long* count);
KV_API long GetLogEventsCountMT(CKVCLProcess* session, long* count);

/* ID of the log event at a position of the server's list. */
KV_API long GetLogEventByOrdinal(long ordinal, long* id);
KV_API long GetLogEventByOrdinalMT(CKVCLProcess* session, long ordinal, long* id);

/* ID of the log event with this number. */
KV_API long GetLogEventByNumber(long number, long* id);
KV_API long GetLogEventByNumberMT(CKVCLProcess* session, long number, long* id);

/* ID of the log event with this name. */
KV_API long GetLogEventByName(const char* name, long* id);
KV_API long GetLogEventByNameMT(CKVCLProcess* session, const char* name, long* id);

/* Deletes a log event. */
KV_API long DeleteLogEvent(long id);
KV_API long DeleteLogEventMT(CKVCLProcess* session, long id);

/* Creates a log event with the ID, number and name given (1: the ID exists). */
KV_API long NewLogEvent(long id, long number, const char* name);
KV_API long NewLogEventMT(CKVCLProcess* session, long id, long number, const char* name);

/* Gives a log event another number. */
KV_API long SetLogEventNumber(long id, long number);
KV_API long SetLogEventNumberMT(CKVCLProcess* session, long id, long number);

/* Gives a log event another name. */
KV_API long SetLogEventName(long id, const char* name);
KV_API long SetLogEventNameMT(CKVCLProcess* session, long id, const char* name);

/* A log event's fields (outputs; f8, f9 dates). */
KV_API long GetLogEventProperties(long id, short* f1, long* f2, long* f3, char* f4, short* f5,
    short* f6, char* f7, long* f8, long* f9, long* f10, long* f11, double* f12, double* f13,
    double* f14, double* f15, double* f16, double* f17);
KV_API long GetLogEventPropertiesMT(CKVCLProcess* session, long id, short* f1, long* f2, long* f3,
    char* f4, short* f5, short* f6, char* f7, long* f8, long* f9, long* f10, long* f11, double* f12,
    double* f13, double* f14, double* f15, double* f16, double* f17);

/* Writes a log event (f8, f9 dates; f1 goes where other families send the number). */
KV_API long SetLogEventProperties(long id, short f1, long f2, long f3, const char* f4, short f5,
    short f6, const char* f7, long f8, long f9, long f10, long f11, double f12, double f13,
    double f14, double f15, double f16, double f17);
KV_API long SetLogEventPropertiesMT(CKVCLProcess* session, long id, short f1, long f2, long f3,
    const char* f4, short f5, short f6, const char* f7, long f8, long f9, long f10, long f11,
    double f12, double f13, double f14, double f15, double f16, double f17);

/* Number of log events that match the filter, with no date limit. */
KV_API long GetLogEventsCountFiltered(long* count, short filter1, long filter2, short filter3,
    short filter4, long filter5, long filter6);
KV_API long GetLogEventsCountFilteredMT(CKVCLProcess* session, long* count, short filter1,
    long filter2, short filter3, short filter4, long filter5, long filter6);

/* Number of log events that match the filter between two dates (0: no limit). */
KV_API long GetLogEventsCountFilteredEx(long* count, short filter1, long filter2, short filter3,
    short filter4, long filter5, long filter6, long from, long to);
KV_API long GetLogEventsCountFilteredExMT(CKVCLProcess* session, long* count, short filter1,
    long filter2, short filter3, short filter4, long filter5, long filter6, long from, long to);

/* ID of the log event at a position among those that match the filter, with no date limit. */
KV_API long GetLogEventIDByOrdinalFiltered(long ordinal, long* id, short filter1, long filter2,
    short filter3, short filter4, long filter5, long filter6);
KV_API long GetLogEventIDByOrdinalFilteredMT(CKVCLProcess* session, long ordinal, long* id,
    short filter1, long filter2, short filter3, short filter4, long filter5, long filter6);

/* ID of the log event at a position among those that match the filter between two dates. */
KV_API long GetLogEventIDByOrdinalFilteredEx(long ordinal, long* id, short filter1, long filter2,
    short filter3, short filter4, long filter5, long filter6, long from, long to);
KV_API long GetLogEventIDByOrdinalFilteredExMT(CKVCLProcess* session, long ordinal, long* id,
    short filter1, long filter2, short filter3, short filter4, long filter5, long filter6,
    long from, long to);

/* Clears a log event. */
KV_API long ClearLogEvent(long id);
KV_API long ClearLogEventMT(CKVCLProcess* session, long id);

/* Acknowledges a log event. */
KV_API long AckLogEvent(long id);
KV_API long AckLogEventMT(CKVCLProcess* session, long id);

/* ---- Event queue ----------------------------------------------------------------------------- */

/* Reads and queues every event waiting on the events connection. */
KV_API long ProcessEvents(void);
KV_API long ProcessEventsMT(CKVCLProcess* session);

/* Asks the server to send its events now. */
KV_API long FireEvents(void);
KV_API long FireEventsMT(CKVCLProcess* session);

/* Number of queued events. */
KV_API long GetEventsCount(long* count);
KV_API long GetEventsCountMT(CKVCLProcess* session, long* count);

/* Type code of the event at the head of the queue, 0 when it is empty. */
KV_API long GetNextEventType(short* type);
KV_API long GetNextEventTypeMT(CKVCLProcess* session, short* type);

/* Removes the event at the head of the queue (2 when it is empty). */
KV_API long DiscardNextEvent(void);
KV_API long DiscardNextEventMT(CKVCLProcess* session);

/* Takes the server event at the head of the queue. */
KV_API long GetNextServerEvent(long* eventId, char* text);
KV_API long GetNextServerEventMT(CKVCLProcess* session, long* eventId, char* text);

/* Takes the client event at the head of the queue. */
KV_API long GetNextClientEvent(long* clientId, long* eventId, char* text);
KV_API long GetNextClientEventMT(CKVCLProcess* session, long* clientId, long* eventId, char* text);

/* Takes the database log event at the head of the queue (date: f3). */
KV_API long GetNextDBLogEvent(long* f1, long* f2, long* f3, char* f4);
KV_API long GetNextDBLogEventMT(CKVCLProcess* session, long* f1, long* f2, long* f3, char* f4);

/* Takes the database delivery log event at the head of the queue (date: f12). */
KV_API long GetNextDBLogDeliveryEvent(long* f1, long* f2, short* f3, short* f4, double* f5,
    short* f6, double* f7, double* f8, double* f9, long* f10, long* f11, long* f12);
KV_API long GetNextDBLogDeliveryEventMT(CKVCLProcess* session, long* f1, long* f2, short* f3,
    short* f4, double* f5, short* f6, double* f7, double* f8, double* f9, long* f10, long* f11,
    long* f12);

/* Takes the database delivery clear event at the head of the queue (date: f4). */
KV_API long GetNextDBClearDeliveryEvent(long* f1, short* f2, long* f3, long* f4, long* f5);
KV_API long GetNextDBClearDeliveryEventMT(CKVCLProcess* session, long* f1, short* f2, long* f3,
    long* f4, long* f5);

/* Takes the database delivery stack event at the head of the queue. */
KV_API long GetNextDBStackDeliveryEvent(long* f1);
KV_API long GetNextDBStackDeliveryEventMT(CKVCLProcess* session, long* f1);

/* Takes the hose totals event at the head of the queue: the hose ID and the four totals. */
KV_API long GetNextDBHoseETotalsEvent(long* f1, double* f2, double* f3, double* f4, double* f5);
KV_API long GetNextDBHoseETotalsEventMT(CKVCLProcess* session, long* f1, double* f2, double* f3,
    double* f4, double* f5);

/* Takes the hose totals event at the head of the queue: all 15 fields. */
KV_API long GetNextDBHoseETotalsEventEx(long* f1, double* f2, double* f3, double* f4, double* f5,
    long* f6, long* f7, long* f8, long* f9, char* f10, long* f11, long* f12, char* f13, long* f14,
    char* f15);
KV_API long GetNextDBHoseETotalsEventExMT(CKVCLProcess* session, long* f1, double* f2, double* f3,
    double* f4, double* f5, long* f6, long* f7, long* f8, long* f9, char* f10, long* f11, long* f12,
    char* f13, long* f14, char* f15);

/* Takes the database trigger event at the head of the queue. */
KV_API long GetNextDBTriggerEvent(long* f1, long* f2);
KV_API long GetNextDBTriggerEventMT(CKVCLProcess* session, long* f1, long* f2);

/* Takes the attendant logon event at the head of the queue. */
KV_API long GetNextDBAttendantLogonEvent(long* f1, long* f2);
KV_API long GetNextDBAttendantLogonEventMT(CKVCLProcess* session, long* f1, long* f2);

/* Takes the attendant logoff event at the head of the queue. */
KV_API long GetNextDBAttendantLogoffEvent(long* f1);
KV_API long GetNextDBAttendantLogoffEventMT(CKVCLProcess* session, long* f1);

/* Takes the tank status event at the head of the queue: fields 1 to 8. */
KV_API long GetNextDBTankStatusEvent(long* f1, double* f2, double* f3, double* f4, double* f5,
    double* f6, double* f7, double* f8);
KV_API long GetNextDBTankStatusEventMT(CKVCLProcess* session, long* f1, double* f2, double* f3,
    double* f4, double* f5, double* f6, double* f7, double* f8);

/* Takes the tank status event at the head of the queue: fields 1 to 17. */
KV_API long GetNextDBTankStatusEventEx(long* f1, double* f2, double* f3, double* f4, double* f5,
    double* f6, double* f7, double* f8, long* f9, char* f10, long* f11, char* f12, short* f13,
    double* f14, double* f15, long* f16, short* f17);
KV_API long GetNextDBTankStatusEventExMT(CKVCLProcess* session, long* f1, double* f2, double* f3,
    double* f4, double* f5, double* f6, double* f7, double* f8, long* f9, char* f10, long* f11,
    char* f12, short* f13, double* f14, double* f15, long* f16, short* f17);

/* Takes the tank status event at the head of the queue: all 19 fields. */
KV_API long GetNextDBTankStatusEventEx2(long* f1, double* f2, double* f3, double* f4, double* f5,
    double* f6, double* f7, double* f8, long* f9, char* f10, long* f11, char* f12, short* f13,
    double* f14, double* f15, long* f16, short* f17, short* f18, long* f19);
KV_API long GetNextDBTankStatusEventEx2MT(CKVCLProcess* session, long* f1, double* f2, double* f3,
    double* f4, double* f5, double* f6, double* f7, double* f8, long* f9, char* f10, long* f11,
    char* f12, short* f13, double* f14, double* f15, long* f16, short* f17, short* f18, long* f19);

/* Takes the zero-delivery event at the head of the queue: fields 1 to 4. */
KV_API long GetNextZeroDeliveryEvent(long* f1, long* f2, long* f3, long* f4);
KV_API long GetNextZeroDeliveryEventMT(CKVCLProcess* session, long* f1, long* f2, long* f3,
    long* f4);

/* Takes the zero-delivery event at the head of the queue: all 7 fields. */
KV_API long GetNextZeroDeliveryEventEx(long* f1, long* f2, long* f3, long* f4, short* f5, short* f6,
    double* f7);
KV_API long GetNextZeroDeliveryEventExMT(CKVCLProcess* session, long* f1, long* f2, long* f3,
    long* f4, short* f5, short* f6, double* f7);

/* Takes the ZigBee PAN ID event at the head of the queue. */
KV_API long GetNextZBPanIDEvent(long* f1, long long* f2);
KV_API long GetNextZBPanIDEventMT(CKVCLProcess* session, long* f1, long long* f2);

/* Takes the card read event at the head of the queue (date: f8). */
KV_API long GetNextCardReadEvent(long* f1, long* f2, char* f3, long* f4, short* f5, long* f6,
    long long* f7, long* f8);
KV_API long GetNextCardReadEventMT(CKVCLProcess* session, long* f1, long* f2, char* f3, long* f4,
    short* f5, long* f6, long long* f7, long* f8);

/* Takes the ZigBee status event at the head of the queue. */
KV_API long GetNextZB2GStatusEvent(long* f1, long long* f2, short* f3, short* f4, long long* f5,
    short* f6, short* f7, short* f8, short* f9);
KV_API long GetNextZB2GStatusEventMT(CKVCLProcess* session, long* f1, long long* f2, short* f3,
    short* f4, long long* f5, short* f6, short* f7, short* f8, short* f9);

/* Takes the log-event event at the head of the queue (dates: f9, f10). */
KV_API long GetNextLogEventEvent(long* f1, short* f2, long* f3, long* f4, char* f5, short* f6,
    short* f7, char* f8, long* f9, long* f10, long* f11, long* f12, double* f13, double* f14,
    double* f15, double* f16, double* f17, double* f18);
KV_API long GetNextLogEventEventMT(CKVCLProcess* session, long* f1, short* f2, long* f3, long* f4,
    char* f5, short* f6, short* f7, char* f8, long* f9, long* f10, long* f11, long* f12,
    double* f13, double* f14, double* f15, double* f16, double* f17, double* f18);

/* Takes the sale item event at the head of the queue (dates: f23, f24). */
KV_API long GetNextSaleItemEvent(long* f1, long* f2, long* f3, char* f4, long long* f5, long* f6,
    char* f7, char* f8, long* f9, long* f10, char* f11, long* f12, long* f13, char* f14,
    long long* f15, long* f16, long* f17, char* f18, long long* f19, short* f20, double* f21,
    double* f22, long* f23, long* f24, long* f25, long* f26, short* f27, short* f28, char* f29,
    char* f30, char* f31, char* f32, short* f33);
KV_API long GetNextSaleItemEventMT(CKVCLProcess* session, long* f1, long* f2, long* f3, char* f4,
    long long* f5, long* f6, char* f7, char* f8, long* f9, long* f10, char* f11, long* f12,
    long* f13, char* f14, long long* f15, long* f16, long* f17, char* f18, long long* f19,
    short* f20, double* f21, double* f22, long* f23, long* f24, long* f25, long* f26, short* f27,
    short* f28, char* f29, char* f30, char* f31, char* f32, short* f33);

/* Takes the odometer event at the head of the queue. */
KV_API long GetNextKVOdoEvent(long* f1, long long* f2, short* f3, short* f4, long long* f5,
    short* f6, short* f7, short* f8, short* f9, long* f10, char* f11, long long* f12,
    long long* f13, long* f14, short* f15, long long* f16, long* f17, short* f18, long long* f19,
    long long* f20, long long* f21, long long* f22, short* f23, char* f24);
KV_API long GetNextKVOdoEventMT(CKVCLProcess* session, long* f1, long long* f2, short* f3,
    short* f4, long long* f5, short* f6, short* f7, short* f8, short* f9, long* f10, char* f11,
    long long* f12, long long* f13, long* f14, short* f15, long long* f16, long* f17, short* f18,
    long long* f19, long long* f20, long long* f21, long long* f22, short* f23, char* f24);

/* Takes the terminal prompt answer at the head of the queue. */
KV_API long GetNextKVTermPromptEvent(long* f1, short* f2, short* f3, char* f4);
KV_API long GetNextKVTermPromptEventMT(CKVCLProcess* session, long* f1, short* f2, short* f3,
    char* f4);

/* Takes the pump event at the head of the queue: fields 1 to 8, 11 to 17 (f7 as a short). */
KV_API long GetNextPumpEvent(long* f1, long* f2, short* f3, short* f4, long* f5, long* f6,
    short* f7, long* f8, char* f11, char* f12, short* f13, double* f14, double* f15, double* f16,
    short* f17);
KV_API long GetNextPumpEventMT(CKVCLProcess* session, long* f1, long* f2, short* f3, short* f4,
    long* f5, long* f6, short* f7, long* f8, char* f11, char* f12, short* f13, double* f14,
    double* f15, double* f16, short* f17);

/* Takes the pump event at the head of the queue: fields 1 to 8, 11 to 32 (f7 as a short). */
KV_API long GetNextPumpEventEx(long* f1, long* f2, short* f3, short* f4, long* f5, long* f6,
    short* f7, long* f8, char* f11, char* f12, short* f13, double* f14, double* f15, double* f16,
    short* f17, char* f18, long* f19, short* f20, short* f21, short* f22, short* f23, short* f24,
    long* f25, short* f26, short* f27, short* f28, short* f29, short* f30, short* f31, short* f32);
KV_API long GetNextPumpEventExMT(CKVCLProcess* session, long* f1, long* f2, short* f3, short* f4,
    long* f5, long* f6, short* f7, long* f8, char* f11, char* f12, short* f13, double* f14,
    double* f15, double* f16, short* f17, char* f18, long* f19, short* f20, short* f21, short* f22,
    short* f23, short* f24, long* f25, short* f26, short* f27, short* f28, short* f29, short* f30,
    short* f31, short* f32);

/* Takes the pump event at the head of the queue: fields 1 to 41. */
KV_API long GetNextPumpEventEx2(long* f1, long* f2, short* f3, short* f4, long* f5, long* f6,
    long* f7, long* f8, long* f9, long* f10, char* f11, char* f12, short* f13, double* f14,
    double* f15, double* f16, short* f17, char* f18, long* f19, short* f20, short* f21, short* f22,
    short* f23, short* f24, long* f25, short* f26, short* f27, short* f28, short* f29, short* f30,
    short* f31, short* f32, long long* f33, long* f34, long* f35, char* f36, long long* f37,
    long* f38, long* f39, char* f40, long long* f41);
KV_API long GetNextPumpEventEx2MT(CKVCLProcess* session, long* f1, long* f2, short* f3, short* f4,
    long* f5, long* f6, long* f7, long* f8, long* f9, long* f10, char* f11, char* f12, short* f13,
    double* f14, double* f15, double* f16, short* f17, char* f18, long* f19, short* f20, short* f21,
    short* f22, short* f23, short* f24, long* f25, short* f26, short* f27, short* f28, short* f29,
    short* f30, short* f31, short* f32, long long* f33, long* f34, long* f35, char* f36,
    long long* f37, long* f38, long* f39, char* f40, long long* f41);

/* Takes the pump event at the head of the queue: all 43 fields. */
KV_API long GetNextPumpEventEx3(long* f1, long* f2, short* f3, short* f4, long* f5, long* f6,
    long* f7, long* f8, long* f9, long* f10, char* f11, char* f12, short* f13, double* f14,
    double* f15, double* f16, short* f17, char* f18, long* f19, short* f20, short* f21, short* f22,
    short* f23, short* f24, long* f25, short* f26, short* f27, short* f28, short* f29, short* f30,
    short* f31, short* f32, long long* f33, long* f34, long* f35, char* f36, long long* f37,
    long* f38, long* f39, char* f40, long long* f41, double* f42, double* f43);
KV_API long GetNextPumpEventEx3MT(CKVCLProcess* session, long* f1, long* f2, short* f3, short* f4,
    long* f5, long* f6, long* f7, long* f8, long* f9, long* f10, char* f11, char* f12, short* f13,
    double* f14, double* f15, double* f16, short* f17, char* f18, long* f19, short* f20, short* f21,
    short* f22, short* f23, short* f24, long* f25, short* f26, short* f27, short* f28, short* f29,
    short* f30, short* f31, short* f32, long long* f33, long* f34, long* f35, char* f36,
    long long* f37, long* f38, long* f39, char* f40, long long* f41, double* f42, double* f43);

/* Takes the delivery event at the head of the queue: fields 1 to 7, 16 to 27 (date: f23). */
KV_API long GetNextDeliveryEvent(long* f1, long* f2, long* f3, long* f4, long* f5, long* f6,
    char* f7, short* f16, short* f17, double* f18, short* f19, double* f20, double* f21,
    double* f22, long* f23, long* f24, long* f25, long* f26, long* f27);
KV_API long GetNextDeliveryEventMT(CKVCLProcess* session, long* f1, long* f2, long* f3, long* f4,
    long* f5, long* f6, char* f7, short* f16, short* f17, double* f18, short* f19, double* f20,
    double* f21, double* f22, long* f23, long* f24, long* f25, long* f26, long* f27);

/* Takes the delivery event at the head of the queue: fields 1 to 11, 16 to 27 (date: f23). */
KV_API long GetNextDeliveryEventEx(long* f1, long* f2, long* f3, long* f4, long* f5, long* f6,
    char* f7, long* f8, long* f9, char* f10, long* f11, short* f16, short* f17, double* f18,
    short* f19, double* f20, double* f21, double* f22, long* f23, long* f24, long* f25, long* f26,
    long* f27);
KV_API long GetNextDeliveryEventExMT(CKVCLProcess* session, long* f1, long* f2, long* f3, long* f4,
    long* f5, long* f6, char* f7, long* f8, long* f9, char* f10, long* f11, short* f16, short* f17,
    double* f18, short* f19, double* f20, double* f21, double* f22, long* f23, long* f24, long* f25,
    long* f26, long* f27);

/* Takes the delivery event at the head of the queue: fields 1 to 27 (date: f23). */
KV_API long GetNextDeliveryEventEx2(long* f1, long* f2, long* f3, long* f4, long* f5, long* f6,
    char* f7, long* f8, long* f9, char* f10, long* f11, long* f12, char* f13, char* f14, char* f15,
    short* f16, short* f17, double* f18, short* f19, double* f20, double* f21, double* f22,
    long* f23, long* f24, long* f25, long* f26, long* f27);
KV_API long GetNextDeliveryEventEx2MT(CKVCLProcess* session, long* f1, long* f2, long* f3, long* f4,
    long* f5, long* f6, char* f7, long* f8, long* f9, char* f10, long* f11, long* f12, char* f13,
    char* f14, char* f15, short* f16, short* f17, double* f18, short* f19, double* f20, double* f21,
    double* f22, long* f23, long* f24, long* f25, long* f26, long* f27);

/* Takes the delivery event at the head of the queue: fields 1 to 43 (dates: f23, f28). */
KV_API long GetNextDeliveryEventEx3(long* f1, long* f2, long* f3, long* f4, long* f5, long* f6,
    char* f7, long* f8, long* f9, char* f10, long* f11, long* f12, char* f13, char* f14, char* f15,
    short* f16, short* f17, double* f18, short* f19, double* f20, double* f21, double* f22,
    long* f23, long* f24, long* f25, long* f26, long* f27, long* f28, double* f29, double* f30,
    double* f31, double* f32, double* f33, double* f34, long long* f35, long* f36, long* f37,
    char* f38, long long* f39, long* f40, long* f41, char* f42, long long* f43);
KV_API long GetNextDeliveryEventEx3MT(CKVCLProcess* session, long* f1, long* f2, long* f3, long* f4,
    long* f5, long* f6, char* f7, long* f8, long* f9, char* f10, long* f11, long* f12, char* f13,
    char* f14, char* f15, short* f16, short* f17, double* f18, short* f19, double* f20, double* f21,
    double* f22, long* f23, long* f24, long* f25, long* f26, long* f27, long* f28, double* f29,
    double* f30, double* f31, double* f32, double* f33, double* f34, long long* f35, long* f36,
    long* f37, char* f38, long long* f39, long* f40, long* f41, char* f42, long long* f43);

/* Takes the delivery event at the head of the queue: all 44 fields (dates: f23, f28). */
KV_API long GetNextDeliveryEventEx4(long* f1, long* f2, long* f3, long* f4, long* f5, long* f6,
    char* f7, long* f8, long* f9, char* f10, long* f11, long* f12, char* f13, char* f14, char* f15,
    short* f16, short* f17, double* f18, short* f19, double* f20, double* f21, double* f22,
    long* f23, long* f24, long* f25, long* f26, long* f27, long* f28, double* f29, double* f30,
    double* f31, double* f32, double* f33, double* f34, long long* f35, long* f36, long* f37,
    char* f38, long long* f39, long* f40, long* f41, char* f42, long long* f43, double* f44);
KV_API long GetNextDeliveryEventEx4MT(CKVCLProcess* session, long* f1, long* f2, long* f3, long* f4,
    long* f5, long* f6, char* f7, long* f8, long* f9, char* f10, long* f11, long* f12, char* f13,
    char* f14, char* f15, short* f16, short* f17, double* f18, short* f19, double* f20, double* f21,
    double* f22, long* f23, long* f24, long* f25, long* f26, long* f27, long* f28, double* f29,
    double* f30, double* f31, double* f32, double* f33, double* f34, long long* f35, long* f36,
    long* f37, char* f38, long long* f39, long* f40, long* f41, char* f42, long long* f43,
    double* f44);

#ifdef __cplusplus
}
#endif

#endif /* KVCLIENT_H */
