#include "agent/authorization/SystemAdministrators.h"

#include <QByteArray>

#include <grp.h>
#include <pwd.h>
#include <security/pam_appl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>

namespace {

constexpr char service[] = "corvalin-agent";

/// Calls one of the C library's look-ups with ever more room, until it is enough.
template <typename Record, typename LookUp>
std::optional<Record> lookedUp(std::vector<char>& room, const LookUp& lookUp) {
    constexpr std::size_t most = 1 << 20;
    for (room.resize(4096); room.size() <= most; room.resize(room.size() * 2)) {
        Record record{};
        Record* found = nullptr;
        const int error = lookUp(&record, room.data(), room.size(), &found);
        if (error == ERANGE) continue;
        if (error != 0 || !found) return std::nullopt;
        return record;
    }
    return std::nullopt;
}

std::optional<gid_t> groupNumber(const QString& name) {
    std::vector<char> room;
    const QByteArray bytes = name.toUtf8();
    const auto record =
        lookedUp<group>(room, [&](group* target, char* data, std::size_t size, group** found) {
            return ::getgrnam_r(bytes.constData(), target, data, size, found);
        });
    return record ? std::optional(record->gr_gid) : std::nullopt;
}

std::vector<gid_t> groupsOf(const QByteArray& user, gid_t own) {
    int count = 64;
    std::vector<gid_t> groups(static_cast<std::size_t>(count));
    if (::getgrouplist(user.constData(), own, groups.data(), &count) < 0) {
        groups.resize(static_cast<std::size_t>(count));
        if (::getgrouplist(user.constData(), own, groups.data(), &count) < 0) count = 0;
    }
    groups.resize(static_cast<std::size_t>(count));
    return groups;
}

bool isAdministrator(const QByteArray& user, const QStringList& groups) {
    std::vector<char> room;
    const auto account =
        lookedUp<passwd>(room, [&](passwd* target, char* data, std::size_t size, passwd** found) {
            return ::getpwnam_r(user.constData(), target, data, size, found);
        });
    if (!account) return false;
    if (account->pw_uid == 0) return true;
    const std::vector<gid_t> own = groupsOf(user, account->pw_gid);
    return std::any_of(groups.begin(), groups.end(), [&](const QString& name) {
        const auto number = groupNumber(name);
        return number && std::find(own.begin(), own.end(), *number) != own.end();
    });
}

/// Answers every question that is asked without an echo with the password. PAM overwrites and frees it.
int converse(int count, const pam_message** messages, pam_response** responses, void* password) {
    if (count <= 0 || count > PAM_MAX_NUM_MSG) return PAM_CONV_ERR;
    auto* answers =
        static_cast<pam_response*>(std::calloc(static_cast<std::size_t>(count), sizeof(pam_response)));
    if (!answers) return PAM_BUF_ERR;
    for (int i = 0; i < count; ++i)
        if (messages[i]->msg_style == PAM_PROMPT_ECHO_OFF)
            answers[i].resp = ::strdup(static_cast<const Secret*>(password)->c_str());
    *responses = answers;
    return PAM_SUCCESS;
}

/// The guard has pauses of its own, which end when the agent does.
void noDelay(int, unsigned, void*) {}

bool passesPam(const SystemAdministrators::Rules& rules, const QByteArray& user, const Secret& password) {
    const pam_conv conversation{converse, const_cast<Secret*>(&password)};
    const QByteArray folder = rules.serviceFolder.toUtf8();
    pam_handle_t* handle = nullptr;
    int status = folder.isEmpty() ? ::pam_start(service, user.constData(), &conversation, &handle)
                                  : ::pam_start_confdir(service, user.constData(), &conversation,
                                                        folder.constData(), &handle);
    if (status != PAM_SUCCESS) return false;
    ::pam_set_item(handle, PAM_FAIL_DELAY, reinterpret_cast<const void*>(&noDelay));
    constexpr int flags = PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK;
    status = ::pam_authenticate(handle, flags);
    if (status == PAM_SUCCESS) status = ::pam_acct_mgmt(handle, flags);
    // The modules may have mapped the name to another account.
    const void* authenticated = nullptr;
    const bool isSameUser = status == PAM_SUCCESS &&
                            ::pam_get_item(handle, PAM_USER, &authenticated) == PAM_SUCCESS &&
                            authenticated && user == static_cast<const char*>(authenticated);
    ::pam_end(handle, status);
    return isSameUser;
}

}  // namespace

bool SystemAdministrators::accepts(const Rules& rules, const QString& user, const Secret& password) {
    const QByteArray name = user.toUtf8();
    // PAM is asked either way: how long the answer takes must not tell who is an administrator.
    const bool hasPassword = passesPam(rules, name, password);
    return hasPassword && isAdministrator(name, rules.groups);
}
