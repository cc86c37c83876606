#include "rpc/interface.h"

#include <chrono>
#include <cstring>
#include "foundation/log.h"
#include "rpc/method.h"
#include "rpc/process.h"
#include "rpc/socket.h"

#define KV_THROW(r) Throw((r), __LINE__, __func__)

namespace {

// The packing bound is the whole data area; reads stop one byte short of it, except for
// the bodies of strings and blocks. Both bounds are part of the protocol.
constexpr int kReadLimit = kMsgDataSize - 1;

// One socket operation with the socket's use count raised (socket operations never throw).
template <class F>
auto Using(CSocket* s, F op)
{
    s->Use();
    auto r = op();
    s->Unuse();
    return r;
}

void CopyMsg(TIMsg* to, const TIMsg* from)
{
    const int n = from->h.length <= kMsgDataSize ? from->WireSize() : static_cast<int>(sizeof(TIMsg));
    std::memcpy(to, from, n);
}

}  // namespace

CInterface::CInterface(CProcess* process, CSocket* socket, long clientId)
    : _msg(&_buffer), _readPos(0), _sequence(0), _function(0), _object(0), _clientId(clientId),
      _destId(0), _socket(socket), _parent(process)
{
    std::memset(&_buffer, 0, sizeof(_buffer));
}

CInterface::~CInterface() = default;

CLog* CInterface::Trace() const
{
    CProcess* p = Process();
    return p ? p->Trace() : nullptr;
}

void CInterface::Throw(TResult r, int line, const char* ftn, const char* file) const
{
    if (r < 0 && r != NO_OBJECT_RESULT)
        if (CLog* log = Trace())
            log->Log("Throw %d, Line %d, File %s, Ftn %s", static_cast<int>(r), line, file, ftn);
    throw r;
}

long CInterface::Caught(TResult r, int line, const char* module, const char* ftn, bool quiet) const
{
    if (!quiet && r < 0 && r != NO_OBJECT_RESULT)
        if (CLog* log = Trace())
            log->Log("Catch %d, Line %d, File %s, Ftn %s", static_cast<int>(r), line, module, ftn);
    return r;
}

// ---- raw accessors ----

namespace {
template <class V>
void WriteRaw(TIMsg* m, V v)
{
    const int at = m->h.length;
    if (at + static_cast<int>(sizeof(V)) <= kMsgDataSize) {
        std::memcpy(m->data + at, &v, sizeof(V));
        m->h.length = static_cast<uint16_t>(at + sizeof(V));
    }
}

template <class V>
V ReadRaw(const TIMsg* m, short& pos)
{
    V v{};
    if (pos >= 0 && pos + static_cast<int>(sizeof(V)) <= kMsgDataSize) {
        std::memcpy(&v, m->data + pos, sizeof(V));
        pos = static_cast<short>(pos + sizeof(V));
    }
    return v;
}
}  // namespace

void CInterface::AppendByte(uint8_t v) { WriteRaw(_msg, v); }
void CInterface::AppendWord(uint16_t v) { WriteRaw(_msg, v); }
void CInterface::AppendLong(uint32_t v) { WriteRaw(_msg, v); }
void CInterface::AppendLongLong(uint64_t v) { WriteRaw(_msg, v); }
void CInterface::AppendDouble(double v) { WriteRaw(_msg, v); }

uint8_t CInterface::GetByte() { return ReadRaw<uint8_t>(_msg, _readPos); }
uint16_t CInterface::GetWord() { return ReadRaw<uint16_t>(_msg, _readPos); }
uint32_t CInterface::GetLong() { return ReadRaw<uint32_t>(_msg, _readPos); }
uint64_t CInterface::GetLongLong() { return ReadRaw<uint64_t>(_msg, _readPos); }
double CInterface::GetDouble() { return ReadRaw<double>(_msg, _readPos); }

// ---- packing ----

void CInterface::AppendType(uint8_t tag, int size)
{
    if (_msg->h.length + 1 + size > kMsgDataSize)
        KV_THROW(PACK_OVERFLOW_RESULT);
    AppendByte(tag);
}

bool CInterface::AppendPType(uint8_t tag, int size, const void* p)
{
    if (p) {
        if (size + _msg->h.length + 1 > kMsgDataSize)
            KV_THROW(PACK_OVERFLOW_RESULT);
        AppendByte(tag);
        return true;
    }
    if (_msg->h.length >= kMsgDataSize)
        KV_THROW(PACK_OVERFLOW_RESULT);
    AppendByte(TAG_NULL);
    return false;
}

namespace {
int StrUnits(const CStr& s)
{
    const int n = s.Length();
    return n > 0 ? n : 0;
}

// The count word and the low 16 bits of each character; room has been checked.
void PutUnits(CInterface& i, const CStr& s, int n)
{
    i.AppendWord(static_cast<uint16_t>(n));
    const wchar_t* w = s.WStr();
    for (int k = 0; k < n; ++k)
        i.AppendWord(static_cast<uint16_t>(w[k]));
}
}  // namespace

void CInterface::Pack(char v) { AppendType(TAG_CHAR, 1); AppendByte(static_cast<uint8_t>(v)); }
void CInterface::Pack(bool v) { AppendType(TAG_BOOL, 1); AppendByte(v ? 1 : 0); }
void CInterface::Pack(short v) { AppendType(TAG_SHORT, 2); AppendWord(static_cast<uint16_t>(v)); }
void CInterface::Pack(long v) { AppendType(TAG_LONG, 4); AppendLong(static_cast<uint32_t>(v)); }
void CInterface::Pack(double v) { AppendType(TAG_DOUBLE, 8); AppendDouble(v); }
void CInterface::Pack(long long v) { AppendType(TAG_LONGLONG, 8); AppendLongLong(static_cast<uint64_t>(v)); }
void CInterface::Pack(const CCur& v) { AppendType(TAG_CUR, 8); AppendLongLong(static_cast<uint64_t>(v.Value())); }
void CInterface::Pack(const CDate& v) { AppendType(TAG_DATE, 8); AppendLongLong(v.Ticks()); }

void CInterface::Pack(const CStr& v)
{
    const int n = StrUnits(v);
    AppendType(TAG_STR, 2 + 2 * n);
    PutUnits(*this, v, n);
}

void CInterface::Pack(char* p) { if (AppendPType(TAG_PCHAR, 1, p)) AppendByte(static_cast<uint8_t>(*p)); }
void CInterface::Pack(bool* p) { if (AppendPType(TAG_PBOOL, 1, p)) AppendByte(*p ? 1 : 0); }
void CInterface::Pack(short* p) { if (AppendPType(TAG_PSHORT, 2, p)) AppendWord(static_cast<uint16_t>(*p)); }
void CInterface::Pack(long* p) { if (AppendPType(TAG_PLONG, 4, p)) AppendLong(static_cast<uint32_t>(*p)); }
void CInterface::Pack(double* p) { if (AppendPType(TAG_PDOUBLE, 8, p)) AppendDouble(*p); }
void CInterface::Pack(long long* p) { if (AppendPType(TAG_PLONGLONG, 8, p)) AppendLongLong(static_cast<uint64_t>(*p)); }
void CInterface::Pack(CCur* p) { if (AppendPType(TAG_PCUR, 8, p)) AppendLongLong(static_cast<uint64_t>(p->Value())); }
void CInterface::Pack(CDate* p) { if (AppendPType(TAG_PDATE, 8, p)) AppendLongLong(p->Ticks()); }

void CInterface::Pack(CStr* p)
{
    const int n = p ? StrUnits(*p) : 0;
    if (AppendPType(TAG_PSTR, 2 + 2 * n, p))
        PutUnits(*this, *p, n);
}

void CInterface::Pack(const void* block, short n)
{
    if (n < 0)
        KV_THROW(PACK_OVERFLOW_RESULT);
    if (!AppendPType(TAG_BLOCK, n + 2, block))
        return;
    AppendWord(static_cast<uint16_t>(n));
    std::memcpy(_msg->data + _msg->h.length, block, n);
    _msg->h.length = static_cast<uint16_t>(_msg->h.length + n);
}

// ---- unpacking ----

void CInterface::CheckType(uint8_t tag, int size)
{
    if (_readPos < 0 || _readPos + 1 + size > kReadLimit)
        KV_THROW(UNPACK_OVERRUN_RESULT);
    if (GetByte() != tag)
        KV_THROW(TYPE_MISMATCH_RESULT);
}

bool CInterface::CheckPType(uint8_t tag, int size, const void* p)
{
    if (_readPos < 0 || _readPos + 1 > kReadLimit)
        KV_THROW(UNPACK_OVERRUN_RESULT);
    const uint8_t got = GetByte();
    if (got == TAG_NULL)
        return false;
    if (_readPos + size > kReadLimit)
        KV_THROW(UNPACK_OVERRUN_RESULT);
    if (got != tag)
        KV_THROW(TYPE_MISMATCH_RESULT);
    if (p)
        return true;
    _readPos = static_cast<short>(_readPos + size);
    return false;
}

void CInterface::Unpack(char& v) { CheckType(TAG_CHAR, 1); v = static_cast<char>(GetByte()); }
void CInterface::Unpack(bool& v) { CheckType(TAG_BOOL, 1); v = GetByte() != 0; }
void CInterface::Unpack(short& v) { CheckType(TAG_SHORT, 2); v = static_cast<short>(GetWord()); }
void CInterface::Unpack(long& v) { CheckType(TAG_LONG, 4); v = static_cast<int32_t>(GetLong()); }
void CInterface::Unpack(double& v) { CheckType(TAG_DOUBLE, 8); v = GetDouble(); }
void CInterface::Unpack(long long& v) { CheckType(TAG_LONGLONG, 8); v = static_cast<long long>(GetLongLong()); }
void CInterface::Unpack(CCur& v) { CheckType(TAG_CUR, 8); v.SetValue(static_cast<int64_t>(GetLongLong())); }
void CInterface::Unpack(CDate& v) { CheckType(TAG_DATE, 8); v.SetTicks(GetLongLong()); }

// The count word, then the units. Each 16-bit unit becomes one character with the unit's
// unsigned value: the wire carries UTF-16 units, and 0x8000..0xFFFF are ordinary
// characters, not negative ones. Assign reserves room for all of them at once (the string
// grows at most once) and replaces the old text.
void CInterface::UnpackChars(CStr& v)
{
    const int n = GetWord();
    if (_readPos + 2 * n > kMsgDataSize)
        KV_THROW(UNPACK_OVERRUN_RESULT);
    wchar_t units[kMsgDataSize / 2];
    for (int i = 0; i < n; ++i)
        units[i] = static_cast<wchar_t>(GetWord());
    v.Assign(units, static_cast<short>(n));
}

void CInterface::Unpack(CStr& v)
{
    CheckType(TAG_STR, 2);
    UnpackChars(v);
}

// The pointer forms: the value is stored only when the peer sent one and there is a target.
#define KV_UNPACK_REF(T, tag, size, store)              \
    T* CInterface::Unpack(T* p)                         \
    {                                                   \
        if (!CheckPType(tag, size, p))                  \
            return nullptr;                             \
        store;                                          \
        return p;                                       \
    }

KV_UNPACK_REF(char, TAG_PCHAR, 1, *p = static_cast<char>(GetByte()))
KV_UNPACK_REF(bool, TAG_PBOOL, 1, *p = GetByte() != 0)
KV_UNPACK_REF(short, TAG_PSHORT, 2, *p = static_cast<short>(GetWord()))
KV_UNPACK_REF(long, TAG_PLONG, 4, *p = static_cast<int32_t>(GetLong()))
KV_UNPACK_REF(double, TAG_PDOUBLE, 8, *p = GetDouble())
KV_UNPACK_REF(long long, TAG_PLONGLONG, 8, *p = static_cast<long long>(GetLongLong()))
KV_UNPACK_REF(CCur, TAG_PCUR, 8, p->SetValue(static_cast<int64_t>(GetLongLong())))
KV_UNPACK_REF(CDate, TAG_PDATE, 8, p->SetTicks(GetLongLong()))
KV_UNPACK_REF(CStr, TAG_PSTR, 2, UnpackChars(*p))

void* CInterface::Unpack(void* block, int capacity)
{
    if (!CheckPType(TAG_BLOCK, 2, block))
        return nullptr;
    const int n = GetWord();
    if (n + _readPos > kMsgDataSize || n > capacity)
        KV_THROW(UNPACK_OVERRUN_RESULT);
    std::memcpy(block, _msg->data + _readPos, n);
    _readPos = static_cast<short>(_readPos + n);
    return block;
}

bool CInterface::IfType(uint8_t tag, int size)
{
    if (_readPos < 0 || _readPos + 1 + size > kReadLimit)
        return false;
    return _msg->data[_readPos] == tag;
}

int CInterface::GetParCount()
{
    const int length = _msg->h.length < kMsgDataSize ? _msg->h.length : kMsgDataSize;
    if (length == 0)
        return -1;
    int pos = 0;
    for (int count = 0;; ++count) {
        if (pos >= length)
            return -1;
        const uint8_t tag = _msg->data[pos++];
        int size = 0;
        switch (tag) {
        case TAG_END:
            return count;
        case TAG_CHAR: case TAG_PCHAR: case TAG_BOOL: case TAG_PBOOL:
            size = 1;
            break;
        case TAG_SHORT: case TAG_PSHORT:
            size = 2;
            break;
        case TAG_LONG: case TAG_PLONG:
            size = 4;
            break;
        case TAG_DOUBLE: case TAG_PDOUBLE: case TAG_CUR: case TAG_PCUR:
        case TAG_DATE: case TAG_PDATE: case TAG_LONGLONG: case TAG_PLONGLONG:
            size = 8;
            break;
        case TAG_STR: case TAG_PSTR:
        case TAG_BLOCK: case TAG_RESERVED: {
            if (pos + 2 > length)
                return -1;
            uint16_t n;
            std::memcpy(&n, _msg->data + pos, 2);
            size = 2 + (tag <= TAG_PSTR ? 2 * n : n);
            break;
        }
        default:  // tag 18 and unknown tags carry nothing
            break;
        }
        pos += size;
    }
}

// ---- the call cycle ----

void CInterface::Send()
{
    if (!_socket)
        throw NOT_OPEN_RESULT;
    const int r = Using(_socket, [&] { return _socket->Send(_msg); });
    if (r < 0)
        KV_THROW(static_cast<TResult>(r));
}

void CInterface::Get()
{
    if (!_socket)
        throw NOT_OPEN_RESULT;
    CProcess* process = Process();
    // The reply must come within the call timeout, however many management messages
    // arrive before it: each wait has what is left of it.
    using Clock = std::chrono::steady_clock;
    const long timeout = process ? process->CallTimeout() : 0;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(timeout > 0 ? timeout : 0);
    for (long ms = timeout;;) {
        const int event = Using(_socket, [&] { return _socket->WaitForSocketEvent(ms); });
        switch (event) {
        case CSocket::WAIT_DATA:
            break;
        case CSocket::WAIT_NOT_SYNCHRONOUS:
            KV_THROW(NOT_SYNCHRONOUS_RESULT);
        case CSocket::WAIT_TIMEOUT:
            KV_THROW(TIMEOUT_RESULT);
        case CSocket::WAIT_OBJECT_EVENT:
            if (process)
                process->ErrorObjectEvent();
            break;
        default:
            KV_THROW(CONNECTION_BROKEN);
        }
        if (event == CSocket::WAIT_DATA) {
            const int r = Using(_socket, [&] { return _socket->ReadMsg(_msg); });
            if (r != 0)
                KV_THROW(static_cast<TResult>(r));
            if (_msg->h.function == 0)
                KV_THROW(BAD_FUNCTION_RESULT);
            if (!Using(_socket, [&] { return _socket->IsSocketManagementFtn(_msg, CALL_PORT); }))
                return;
            if (process && !process->Running()) {
                if (process->LogBrokenConnection())
                    if (CLog* log = Trace())
                        log->Log("CInterface::Get() CONNECTION_BROKEN");
                KV_THROW(CONNECTION_BROKEN);
            }
        }
        ms = static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count());
        if (ms <= 0)
            KV_THROW(TIMEOUT_RESULT);
    }
}

// ---- CClientInterface ----

void CClientInterface::InitPack(uint8_t function, unsigned long object, bool oneWay)
{
    TIMsgHeader& h = _msg->h;
    h.kind = 1;
    h.version = static_cast<uint8_t>(InterfaceVersion());
    h.flag = oneWay ? 1 : 0;
    h.function = function;
    h.source = static_cast<uint32_t>(_clientId);
    h.destination = static_cast<uint32_t>(_destId);
    h.sequence = ++_sequence;
    h.type = ObjectType();
    h.object = static_cast<uint32_t>(object);
    h.result = 0;
    h.length = 0;
    _function = function;
    _object = static_cast<uint32_t>(object);
}

void CClientInterface::InitUnpack()
{
    const TIMsgHeader& h = _msg->h;
    if (h.kind != 1)
        KV_THROW(BAD_KIND_RESULT);
    if (h.version != static_cast<uint8_t>(InterfaceVersion()))
        KV_THROW(BAD_VERSION_RESULT);
    if (h.type != ObjectType())
        KV_THROW(BAD_INTERFACE_RESULT);
    if (h.function != _function)
        KV_THROW(BAD_FUNCTION_RESULT);
    if (h.object != _object)
        throw NO_OBJECT_RESULT;
    if (h.sequence != _sequence)
        KV_THROW(BAD_SEQUENCE_RESULT);
    if (h.result != 0)
        KV_THROW(static_cast<TResult>(h.result));
    // A server calling out over a client's events socket expects the client as the source.
    if (h.source != static_cast<uint32_t>(DestID()))
        KV_THROW(BAD_SOURCE_RESULT);
    if (h.destination != static_cast<uint32_t>(ClientID()))
        KV_THROW(BAD_DESTINATION_RESULT);
    _readPos = 0;
}

// Reads what is already waiting before a new request goes out: late replies of abandoned
// calls are dropped, management messages are handled. The request stays untouched in the
// current message: what is drained goes into a buffer of its own. Only what was waiting
// when the drain began is read, so a peer that keeps sending cannot hold the caller here.
void CClientInterface::DrainStale()
{
    // A SHUTDOWN found by the management check may log the session off, which unbinds
    // this interface: the socket is kept for the rest of the drain.
    CSocket* const socket = _socket;
    CProcess* process = Process();
    CSocket::CWaiting waiting(*socket);
    TIMsg stale;
    do {
        const int r = Using(socket, [&] { return socket->ReadMsg(&stale); });
        if (r != 0) {
            // Nothing was waiting a moment ago, so the management check would begin by
            // finding nothing too: it is needed only after a failed read.
            if (r != NO_MESSAGE_RESULT)
                Using(socket, [&] { return socket->CheckForManagementFtn(); });
            Using(socket, [&] { return socket->WriteFlush(); });
            return;
        }
        if (stale.h.function == 0) {
            if (CLog* log = Trace())
                log->Log("invalid ftn ID");
            continue;
        }
        const bool management = Using(socket, [&] { return socket->IsSocketManagementFtn(&stale, CALL_PORT); });
        if (management && process && !process->Running())
            KV_THROW(CONNECTION_BROKEN);
    } while (waiting.More());
}

namespace {
bool NeverRetried(const TIMsgHeader& h)
{
    if (h.type != IF_CLIENT)
        return false;
    switch (h.function) {
    case 13: case 14: case 16: case 36: case 37:
        return true;
    default:
        return false;
    }
}

bool RetriedAfterReconnect(TResult r)
{
    switch (r) {
    case NOT_OPEN_RESULT: case CONNECTION_BROKEN: case SHORT_READ_RESULT:
    case TIMEOUT_RESULT: case SHORT_WRITE_RESULT:
        return true;
    default:
        return false;
    }
}
}  // namespace

void CClientInterface::Call()
{
    if (!_socket || !_socket->IsOpen())
        throw NOT_OPEN_RESULT;
    CopyMsg(&_request, _msg);
    const bool oneWay = OneWay();
    for (int retries = 0;; ++retries) {
        try {
            if (!_socket)
                throw NOT_OPEN_RESULT;
            if (!oneWay)
                DrainStale();
            Send();
            if (oneWay)
                return;
            if (_socket->IsOpen() && _socket->Synchronous()) {
                Get();
            } else if (CLog* log = Trace()) {
                log->Log("Synchronous call on an asyncronous socket");
            }
            return;
        } catch (TResult r) {
            CProcess* process = Process();
            if (NeverRetried(_request.h) || retries >= 2 || !RetriedAfterReconnect(r) || !process)
                throw;
            const long rc = process->Reconnect();
            if (rc != 0)
                KV_THROW(static_cast<TResult>(rc));
            // The same request again, with the same sequence; the session may have bound
            // this interface to a new socket, which the next pass picks up.
            CopyMsg(_msg, &_request);
        }
    }
}

// ---- generic functions 2..12 ----

long CClientInterface::GetVersion(long* version) { return KvCommon::GetVersionSig::Run(*this, KvCommon::GetVersionInfo, version); }
long CClientInterface::New(long number, long id, const CStr& name) { return KvCommon::NewSig::Run(*this, KvCommon::NewInfo, name, id, number); }
long CClientInterface::Delete(long id, bool oneWay) { return KvCommon::DeleteSig::Exec(*this, KvCommon::DeleteInfo, id, oneWay); }
long CClientInterface::Count(long* count) { return KvCommon::CountSig::Run(*this, KvCommon::CountInfo, count); }
long CClientInterface::GetIDByNumber(long number, long* id) { return KvCommon::GetIDByNumberSig::Run(*this, KvCommon::GetIDByNumberInfo, number, id); }
long CClientInterface::GetIDByName(const CStr& name, long* id) { return KvCommon::GetIDByNameSig::Run(*this, KvCommon::GetIDByNameInfo, name, id); }
long CClientInterface::GetIDByOrdinal(long ordinal, long* id) { return KvCommon::GetIDByOrdinalSig::Run(*this, KvCommon::GetIDByOrdinalInfo, ordinal, id); }
long CClientInterface::GetNumber(long id, long* number) { return KvCommon::GetNumberSig::Run(*this, KvCommon::GetNumberInfo, id, number); }
long CClientInterface::SetNumber(long id, long number) { return KvCommon::SetNumberSig::Run(*this, KvCommon::SetNumberInfo, id, number); }
long CClientInterface::GetName(long id, CStr* name) { return KvCommon::GetNameSig::Run(*this, KvCommon::GetNameInfo, id, name); }
long CClientInterface::SetName(long id, const CStr& name) { return KvCommon::SetNameSig::Run(*this, KvCommon::SetNameInfo, id, name); }
