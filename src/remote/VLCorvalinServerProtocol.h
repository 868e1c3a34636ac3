#pragma once

#include <QString>
#include <QStringView>
#include <QVariant>

#include <span>

/// The declared protocol between the console and the agents, as one constant table. Runners, the agent's
/// dispatch, the checks at the boundary and docs/protocol.md all come from it.
namespace VLCorvalinServerProtocol {

/// The argument, and the key in dictionaries, by which both sides name a client.
inline constexpr QLatin1StringView hostNameKey{"hostname"};

enum class Side { Agent, Console };  ///< who answers: the agent's root object, or an object of the console
enum class Mode { Sync, Oneway };
enum class Result { Nothing, Copy };            ///< objects travel by reference only as arguments
enum class Passing { Copy, Reference, Plain };  ///< Plain: neither bycopy nor in
/// What the argument or result must be; Any where the console does not read it.
enum class Type { Any, Boolean, Number, String, Data, Date, Array, Dictionary, Object };

struct Argument {
    const char* name;
    Type type = Type::Any;
    Passing passing = Passing::Copy;
    bool optional = false;  ///< may be nothing
};

struct Operation {
    const char* selector;  ///< as on the wire, for example "addonryEnablePlugin:settings:"
    Side side;
    const char* group;  ///< the heading under which the protocol page lists it
    std::span<const Argument> arguments;
    Result result;
    Type resultType;
    Mode mode;
    bool executeOnErrorClient;  ///< executeRemoteMethod sends it to a client in error
    bool readOnErrorClient;     ///< objectFromRemoteMethod sends it to a client in error
    bool readOnDisabledClient;  ///< objectFromRemoteMethod sends it to a disabled client
    /// May need administrator rights: the first argument (for tasks, user name and password) carries the
    /// credentials, and what needs the rights runs only after they were checked.
    bool authorized;
    bool authorizedOnErrorClient;  ///< the authorised path sends it to a client in error
    /// Carried out beside the console's other operations, so that it is not held up by one that hangs.
    bool control;
    const char* summary;
    bool largeAnswer = false;  ///< the contents of files: takes longer than others, and much memory
};

/// Every operation, agent's first, in the order of the protocol page.
[[nodiscard]] std::span<const Operation> operations();
/// By selector, in constant time; null when there is none on that side.
[[nodiscard]] const Operation* operation(Side side, QStringView selector);
/// How many arguments the selector takes (its colons); also for selectors that no table has.
[[nodiscard]] int argumentCount(QStringView selector);

// Checks of what a peer sent. Truth values and numbers pass for each other, as in property lists.
[[nodiscard]] bool accepts(Type type, const QVariant& value);
/// The whole part of a number or truth value; the nearest bound for a real number out of range, 0 for
/// anything that is no number.
[[nodiscard]] qlonglong integerValue(const QVariant& value);
/// The text; empty for anything that is none, which would otherwise be converted silently.
[[nodiscard]] QString textValue(const QVariant& value);
/// Plain words: "dictionary", "number".
[[nodiscard]] QString typeName(Type type);
[[nodiscard]] QString typeName(const QVariant& value);
/// What is wrong with the number or the types of `arguments`; empty when they fit.
[[nodiscard]] QString argumentError(const Operation& operation, const QVariantList& arguments);

/// The protocol page as Markdown (docs/protocol.md is this text; a test compares them).
[[nodiscard]] QString markdown();

}  // namespace VLCorvalinServerProtocol

/// The domain of the suite's errors, and their texts.
namespace CorvalinError {

inline constexpr char domain[] = "corvalinDomain";
enum Code {
    None = 0,
    ApplicationNotFound = 1000,
    InfoPlistNotFound = 1001,
    ApplicationOutdated = 1002,
    TaskNotFound = 1003,
    DestinationBusy = 1005,
    BadCredentials = 1006,
    NotInstalled = 2001,
    ClientOutdated = 2006,
    SuiteOutdated = 2007,
    ConnectionTimedOut = 2008,
};
/// The message of a code; `info` is the application's name where the message has a place for it. Empty for 0.
[[nodiscard]] QString message(qlonglong code, const QString& info = {});
/// 1 when the fix is to install or update software on the client, else 0.
[[nodiscard]] int actionType(qlonglong code);

}  // namespace CorvalinError
