#pragma once

#include <functional>
#include <string>
#include <vector>

/// \file
/// Scripts and reads back the stand-in of the account library (libzaccountlite.so). Used by tests
/// and by the command-line host, which find zefAccountStandinControl with dlsym.
///
/// The control is in libzaccountkeeper.so, which is never unloaded. Opening that library returns
/// the control without loading the stand-in, so that the stand-in is really unloaded after a run;
/// opening libzaccountlite.so itself keeps the stand-in loaded as well. Either way the control
/// works before the first run, during it and after it.
///
/// Texts are UTF-8, maps are texts of one JSON object. interface/mock.json describes scripts and
/// states.

namespace zefstandin {

/// Where a delivery happens.
enum class Thread {
    caller,  ///< inside the call of the control
    library, ///< on a thread of the library, or of the keeper when no library runs; queued
    host     ///< on the thread of the core application; queued; needs one
};

/// What the weak reference handed to a message handler refers to.
enum class MessageContext {
    alive,      ///< an object that exists until the handler has returned
    gone,       ///< an object that has been destroyed already
    empty,      ///< nothing, it never referred to an object
    nullObject, ///< a live owner without an object: locking it gives null
    throwing    ///< an object whose functions throw
};

/// One call that reached the library.
struct Call
{
    std::string name;
    std::string argument;    ///< JSON object, plain text or empty
    std::string appIds;      ///< "submit" only: joined with ","
    bool hasContext = false; ///< "submit" and "registerMessageTask": the context was not null
    long threadId = 0;       ///< kernel id of the calling thread
};

/// A completion that a script holds back.
struct HeldAnswer
{
    long id = 0;         ///< counts up, is never used again
    std::string name;    ///< the operation or task, for example "loginCallback"
    std::string params;  ///< JSON object
    bool isTask = false; ///< a task callback, which takes a status as well
};

/// All functions are callable from any thread, but not from inside the library's uninit on the same
/// thread. No lock is held while they call out.
class AccountControl
{
public:
    virtual ~AccountControl() = default;

    /// Drops scripts, actions, overlaid state, records, registered handlers and held answers, and restores
    /// every mode below but the recording. A library that runs keeps its accounts.
    virtual void reset() = 0;

    /// Scripts one operation, getter, initialisation step or task until reset(), with one script or
    /// a list of them; "{}" removes the script. Takes precedence over a script of the settings.
    /// \return false when the operation is unknown or the text is not a valid script; nothing is
    ///         changed then.
    virtual bool script(const std::string &operation, const std::string &json) = 0;

    /// Runs a function of the test inside each call of an operation, before its script, until
    /// reset(); an empty function removes it.
    virtual void setAction(const std::string &operation, std::function<void()> action) = 0;

    /// Sets parts of the state, in the shape of the settings' "standin" object; omitted
    /// keys keep their values. Raises no signal. Without a running library it is stored; it
    /// overrides the settings at every init until reset().
    /// \return false when the text is not a JSON object.
    virtual bool setState(const std::string &json) = 0;

    /// The current state as a JSON object: "currentUserId", "accounts", "users", "office", "domains",
    /// "settings" (those given to init), "meetingStatus" (last report) and "running". After uninit:
    /// "running" false, the others as they were.
    virtual std::string state() const = 0;

    /// What texts may hold, as a JSON object of lists: the "operations", and the keys of a "script", of
    /// the "settings" (their "standin" object) and of a "command".
    virtual std::string vocabulary() const = 0;

    /// Random misbehaviour of everything but the initialisation, repeatable by its seed; 0 ends it.
    virtual void setHostile(unsigned seed) = 0;

    /// For measurements: operations cost next to nothing, are not recorded and answer at once.
    virtual void setNoCost(bool noCost) = 0;

    /// Whether calls are recorded. Off at first, so that the memory of a long-running
    /// process does not grow.
    virtual void setRecording(bool recording) = 0;

    /// Raises a signal of the notifier by its name, for example "cookieUpdated".
    /// \return false when there is no such signal or no library runs.
    virtual bool raiseSignal(const std::string &name, Thread thread) = 0;

    /// Sends "notifyElectronMsg"/"meetingDataChanged" to the registered handlers, after uninit
    /// also to those of the last run.
    /// \return caller: how many handlers answered true; otherwise how many it was queued for; -1
    ///         when the text is not a JSON object or there is no such thread.
    virtual int sendMessage(const std::string &messageJson, Thread thread,
                            MessageContext context) = 0;

    /// Hands a map to the registered collect callbacks, after uninit also to those of the last run.
    /// \return how many callbacks were called or queued; -1 as for sendMessage.
    virtual int collect(const std::string &mapJson, Thread thread) = 0;

    /// Writes a line through the log proxy that init was given, as module "zaccountlite".
    /// \param level "info", "warning" or "error".
    /// \return false when no library runs, it has no log proxy, or the level is unknown.
    virtual bool writeLog(const std::string &level, const std::string &message, Thread thread) = 0;

    /// The answers held back now, in order of arrival. They outlive uninit and unloading.
    virtual std::vector<HeldAnswer> held() const = 0;

    /// Gives a held answer as it was planned.
    /// \return false when no answer has that id or there is no such thread.
    virtual bool release(long id, Thread thread) = 0;

    /// Gives a held answer with another status (tasks only) and reply; "" keeps the planned reply.
    /// \param keep leaves it held, so that it can be given again.
    virtual bool answerHeld(long id, Thread thread, int status, const std::string &replyJson,
                            bool keep) = 0;

    /// Gives all held answers as planned. \return how many.
    virtual int releaseAll(Thread thread) = 0;

    /// The calls so far, in order: of "InitInterface", "init", "getScheduler", "submit
    /// grantAuthorizeCodeOffice", "loginCallback", "uninit". At most 200,000 are kept, the first ones.
    virtual std::vector<Call> calls() const = 0;

    /// How many exceptions the caller's function objects have thrown into the library since reset().
    virtual long exceptions() const = 0;

    /// Forgets the calls.
    virtual void clearRecords() = 0;

    /// Waits until nothing is queued or being delivered; held answers and timelines do not count.
    /// \return false when the time has passed first.
    virtual bool waitUntilIdle(int milliseconds) = 0;
};

} // namespace zefstandin

/// The one control object of the process; never null, never deleted by the caller.
extern "C" zefstandin::AccountControl *zefAccountStandinControl();

/// For programs that share no C++ type with the stand-in: carries out one JSON object.
///
/// \param json keys of the settings' "standin" object that a running library takes ("accounts",
///             "users", "currentUserId", "cookies", "office", "script", ...), and "signal" (name to
///             raise), "message" (of the office suite), "collect" (object to hand out), "release"
///             (true: gives all held answers), "releaseNth" (gives the one at that place in
///             "held", from 0) and "reset" (true: reset() before anything else, unless a
///             library runs). Deliveries are made on a library thread.
/// \return JSON text that the caller gives to free(): {"error": text} with the reason for which the
///         command failed; or state() with "scripts" (operation to number of calls that its script
///         is still for, -1 for all), "held" (names of the operations whose answers are held) and
///         "busy" (something is queued or being delivered).
extern "C" char *zefAccountStandinCommand(const char *json);
