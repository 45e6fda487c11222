#pragma once

#include <cstddef>
#include <cstdint>

/// \file
/// Everything that a host compiles against. No Qt type appears here.
///
/// Order of calls:
///
///     createElectronFrameworkObject()     any number of times, always the same object
///     init(settings)                      starts the framework
///     call, asynCall, addListener,        any number
///     removeListener, registerCallbackFunc
///     uninit()                            stops it; init may follow again
///
/// Threads. Every operation may be called from any thread at any time, also while another one, init
/// or uninit included, is running. A callback must not wait for a thread that is in uninit. Three
/// words are used throughout:
/// - caller's thread: the thread of the host that called the operation;
/// - host thread:     the library's own event loop, running from init to uninit;
/// - library thread:  any thread of the closed account library.
///
/// Ownership. The framework object belongs to the library and is never deleted by the host.
/// Callback objects belong to the host and are never deleted by the library; each operation says
/// how long the host keeps them alive. Texts are read during the call and never kept. A null text
/// counts as an empty text.
///
/// Failures are results: false, 0, or a reply whose "result" is "fail". No operation throws, and an
/// exception that a host callback throws is caught and logged.
///
/// In a process forked while the framework was running, and while the process exits, every
/// operation returns false or 0 and nothing is delivered; call uninit before main returns to get
/// every reply.

namespace zelectronframeworkspace {

/// Identifies one subscription made by addListener; 0 is none. Never used twice in a process.
using ListenerHandle = std::uint64_t;

/// The length argument of IElectronCallback::onCallback when no length was passed. No text has this
/// length: the shortest one is "{}".
constexpr std::size_t kLengthNotGiven = 0;

/// Implemented by the host: receives replies, events and task messages.
///
/// The order of the virtual functions is the binary contract between host and library.
class IElectronCallback
{
public:
    virtual ~IElectronCallback() = default;

    /// Called by the library with one JSON object as text.
    ///
    /// \param text   compact JSON, UTF-8, NUL-terminated. Valid only during this call.
    /// \param length bytes of text without the NUL for the reply of call; kLengthNotGiven for all
    ///               other deliveries.
    ///
    /// Thread: the caller's thread for call; the host thread or a library thread otherwise.
    virtual void onCallback(const char *text, std::size_t length = kLengthNotGiven) = 0;
};

/// The one object of the library.
///
/// The order of the virtual functions is the binary contract between host and library.
class IElectronFramework
{
public:
    virtual ~IElectronFramework() = default;

    /// Starts the host thread and everything on it; blocks until that is done.
    ///
    /// \param settings text of one JSON object, UTF-8. "app" with the non-empty texts "appName",
    ///                 "productName", "version" and "localStoragePath" is required; the boolean
    ///                 "app"."international" and the object "network"."proxy" are optional. The
    ///                 whole object also reaches the account library. Read during the call.
    /// \return true when the framework started, or when it was running already (the settings are
    ///         not read then); false otherwise. Inside a callback it does not wait for another init
    ///         or uninit: it returns true as long as there is an application. After a failed start
    ///         call uninit before trying again.
    ///
    /// Thread: any, blocking; waits for another init or uninit.
    /// Errors: bad settings are named in the log; a library that cannot be loaded, on the standard
    ///         error. An account library that refuses to start gives no reason.
    virtual bool init(const char *settings) = 0;

    /// Stops the framework. All methods and events that are already queued run first; asynCall
    /// queues nothing any more, and events that other threads raise from now on are dropped. A host
    /// that cannot wait for queued events removes its listeners first.
    ///
    /// Blocks until operations and deliveries that are running on other threads have returned and
    /// the host thread has ended. When it has returned true, no callback is running or will be
    /// called any more.
    ///
    /// \return true when the framework was stopped; false when it was not running, when the process
    ///         exits meanwhile, or when called where waiting for the end would never return: inside
    ///         a callback on the host thread or a library thread, or inside any callback while
    ///         another thread is in init or uninit.
    ///
    /// Thread: any but the host thread, blocking; waits for another init or uninit.
    virtual bool uninit() = 0;

    /// Runs one module method on the caller's thread and delivers its reply before returning.
    ///
    /// \param method   "module.method", UTF-8, for example "utils.getLogPath". Read during
    ///                 the call.
    /// \param params   text of one JSON object, or null. Any other text counts as {}. Read during
    ///                 the call.
    /// \param callback gets the reply as compact JSON with its length; null drops it. Stays the
    ///                 caller's and is not used after call has returned.
    /// \return true when the reply was delivered, or dropped because callback is null; false when the
    ///         framework is not running.
    ///
    /// Reply:  {"result":"ok"|"fail", "msg":text, "data":object}; "data" only when there is some.
    ///         {} from a method that replies later; that reply is lost: use asynCall for those.
    /// Thread: callable from any. Off the host thread only the methods that MODULES.md marks
    ///         thread-safe run; the others get a "fail" reply.
    /// Errors: a malformed path, an unknown module or an unknown method is a "fail" reply, not
    ///         false.
    virtual bool call(const char *method, const char *params, IElectronCallback *callback) = 0;

    /// Queues one module method to the host thread and returns at once.
    ///
    /// \param method   "module.method", UTF-8, for example "utils.getLogPath". Read during
    ///                 the call.
    /// \param params   text of one JSON object, or null. Any other text counts as {}. Read during
    ///                 the call.
    /// \param callback gets the reply as compact JSON; null drops it. Stays the caller's, who keeps
    ///                 it alive until its one reply has arrived or uninit has returned. If the
    ///                 account library replies twice, both replies are delivered: keep it until
    ///                 uninit to be safe from that.
    /// \return true when the method, or a reply that names its failure, was queued; false when the
    ///         framework is not running, when uninit has begun, or when nothing could be queued.
    ///
    /// Reply:  as for call. MODULES.md marks the methods whose reply the account library writes
    ///         itself.
    /// Thread: callable from any. The reply never arrives from inside this call; it arrives on the
    ///         thread that replies, normally the host thread.
    /// Errors: a malformed path, an unknown module or an unknown method is a "fail" reply, not
    ///         false.
    virtual bool asynCall(const char *method, const char *params, IElectronCallback *callback) = 0;

    /// Subscribes to one account event.
    ///
    /// \param eventName "account.event", UTF-8, for example "account.userInfoChanged"; MODULES.md
    ///                  lists the events. Read during the call.
    /// \param callback  gets {} each time the event happens; null is accepted and gets nothing.
    ///                  Stays the caller's, who keeps it alive until removeListener with the
    ///                  returned handle, or uninit, has returned.
    /// \return the handle of the subscription; 0 when the framework is not running or there is no
    ///         such event. The same callback may be subscribed any number of times.
    ///
    /// Thread: callable from any. Events arrive on the host thread, in order of subscription.
    virtual ListenerHandle addListener(const char *eventName, IElectronCallback *callback) = 0;

    /// Ends one subscription.
    ///
    /// When it has returned, the callback is not running and will not be called any more. Called on
    /// the host thread, for example from inside the callback itself, it returns at once, and the
    /// callback that is running finishes afterwards.
    ///
    /// \param handle what addListener returned. 0, an unknown handle and one that was removed
    ///               before are ignored.
    ///
    /// Thread: callable from any; blocks while the callback is running on the host thread. A
    ///         callback must therefore not wait for a thread that removes it.
    virtual void removeListener(ListenerHandle handle) = 0;

    /// Registers the callback of one task type, for as long as the framework runs.
    ///
    /// \param typeName a task type, UTF-8, for example "meetingDataChangeTask"; MODULES.md lists the
    ///                 types with their messages. Read during the call.
    /// \param callback gets each message: {"dataType":text, "data":object} for
    ///                 "meetingDataChangeTask", the account library's own object for
    ///                 "accountInfoCollectTask"; null is accepted and gets nothing. Stays the
    ///                 caller's, who keeps it alive until uninit has returned.
    /// \return true when the type is known and the account library, where it decides, accepted the
    ///         callback. A second "meetingDataChangeTask" is true and changes nothing.
    ///
    /// Thread: callable from any. Task messages arrive on library threads; one that answers the
    ///         registration may arrive on the caller's thread, before this returns.
    virtual bool registerCallbackFunc(const char *typeName, IElectronCallback *callback) = 0;
};

} // namespace zelectronframeworkspace

/// The library's one exported function, for hosts that load it with dlopen and dlsym.
///
/// \return the framework object, always the same one; never null, never deleted by the host.
///
/// Thread: callable from any.
extern "C" zelectronframeworkspace::IElectronFramework *createElectronFrameworkObject();
