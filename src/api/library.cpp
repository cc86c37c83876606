// Library-level state and functions: the global session, the library lock, the stored log
// path, string copying out, and the functions that need no session.
#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "api/frame.h"

CKVCLProcess* pGCLProcess = nullptr;
std::atomic<pthread_mutex_t*> _pCriticalSection{nullptr};
CStr* pLogPath = nullptr;

namespace {

pthread_mutex_t gCreateCS = PTHREAD_MUTEX_INITIALIZER;
constexpr const char* kDllVersion = "Client Version 2,5,6,0";
constexpr const char kNoText[] = "";

void StoreLogPath(const char* path)
{
    delete pLogPath;
    pLogPath = new CStr(path);
}

}  // namespace

// The lock exists only once ClientLogonEx or DllMain(..., 1, ...) has created it; until
// then every exported function runs without mutual exclusion. First logons on several threads
// at once must still make one lock: its creation and removal are serialised, and the pointer
// is read atomically.
void InitialiseCS()
{
    if (_pCriticalSection.load(std::memory_order_acquire))
        return;
    pthread_mutex_lock(&gCreateCS);
    if (!_pCriticalSection.load(std::memory_order_relaxed)) {
        if (auto* m = static_cast<pthread_mutex_t*>(std::malloc(sizeof(pthread_mutex_t)))) {
            std::memset(m, 0, sizeof *m);
            pthread_mutex_init(m, nullptr);
            _pCriticalSection.store(m, std::memory_order_release);
        }
    }
    pthread_mutex_unlock(&gCreateCS);
}

void DestroyCS()
{
    pthread_mutex_lock(&gCreateCS);
    if (pthread_mutex_t* m = _pCriticalSection.exchange(nullptr)) {
        pthread_mutex_destroy(m);
        std::free(m);
    }
    pthread_mutex_unlock(&gCreateCS);
}

pthread_mutex_t* EnterCS()
{
    pthread_mutex_t* m = _pCriticalSection.load(std::memory_order_acquire);
    if (m)
        pthread_mutex_lock(m);
    return m;
}

// Unlocks what EnterCS locked: the lock may have been created in between.
void LeaveCS(pthread_mutex_t* m)
{
    if (m)
        pthread_mutex_unlock(m);
}

namespace kvapi {

void CopyBSTR(long result, char* out, const char* value)
{
    if (result != 0 || !out)
        return;
    std::strncpy(out, value ? value : "", std::strlen(out));
}

// An unset string (a holder the server did not fill) copies as an empty one.
void CopyBSTR(long result, char* out, const CStr& value)
{
    if (result != 0 || !out)
        return;
    CopyBSTR(result, out, value.IsSet() ? static_cast<const char*>(static_cast<char*>(value)) : "");
}

}  // namespace kvapi

extern "C" {

KV_API int DllMain(void*, unsigned long reason, void*)
{
    if (reason == 1)
        InitialiseCS();
    else if (reason == 2)
        DestroyCS();
    return 1;
}

KV_API long DllVersion(char* out)
{
    kvapi::CopyBSTR(OK_RESULT, out, kDllVersion);
    return OK_RESULT;
}

KV_API const char* ResultString(long) { return kNoText; }
KV_API const char* PumpStateString(short) { return kNoText; }
KV_API const char* DeliveryStateString(short) { return kNoText; }
KV_API const char* DeliveryTypeString(short) { return kNoText; }
KV_API const char* ReserveTypeString(short) { return kNoText; }

// The session forms of the functions that need no session: the session is not looked at.
KV_API long DllVersionMT(CKVCLProcess*, char* out) { return DllVersion(out); }
KV_API const char* ResultStringMT(CKVCLProcess*, long result) { return ResultString(result); }
KV_API const char* PumpStateStringMT(CKVCLProcess*, short state) { return PumpStateString(state); }
KV_API const char* DeliveryStateStringMT(CKVCLProcess*, short state) { return DeliveryStateString(state); }
KV_API const char* DeliveryTypeStringMT(CKVCLProcess*, short type) { return DeliveryTypeString(type); }
KV_API const char* ReserveTypeStringMT(CKVCLProcess*, short type) { return ReserveTypeString(type); }

KV_API long LogMT(CKVCLProcess* session, const char* text)
{
    if (!session)
        return NO_SESSION_RESULT;
    if (!session->GoodConnection())
        return CONNECTION_BROKEN;
    session->Trace()->Log("%s", text ? text : "");
    return OK_RESULT;
}

KV_API long Log(const char* text)
{
    const CStr copy(text);
    if (!pGCLProcess)
        return OK_RESULT;
    kvapi::CSLock lock;
    return LogMT(pGCLProcess, static_cast<char*>(copy));
}

KV_API long SetLogPathMT(CKVCLProcess* session, const char* path)
{
    StoreLogPath(path);
    if (!session)
        return NO_SESSION_RESULT;
    if (!session->GoodConnection())
        return CONNECTION_BROKEN;
    session->Trace()->SetPathSizeArchives(*pLogPath, CKVCLProcess::kLogPathSize, CKVCLProcess::kLogPathArchives);
    return OK_RESULT;
}

KV_API long SetLogPath(const char* path)
{
    if (!pGCLProcess) {
        StoreLogPath(path);
        return OK_RESULT;
    }
    kvapi::CSLock lock;
    return SetLogPathMT(pGCLProcess, path);
}

}  // extern "C"
