#pragma once

#include "dnssd/Backend.h"

#include <avahi-common/defs.h>
#include <avahi-common/strlst.h>

#include <memory>
#include <optional>

namespace dnssd {

using StringList = std::unique_ptr<AvahiStringList, void (*)(AvahiStringList*)>;

[[nodiscard]] inline StringList toStringList(const TxtRecord& txt) {
    AvahiStringList* list = nullptr;
    for (const auto& [key, value] : txt)
        list = avahi_string_list_add_pair_arbitrary(list, key.constData(),
                                                    reinterpret_cast<const uint8_t*>(value.constData()),
                                                    static_cast<size_t>(value.size()));
    return {list, &avahi_string_list_free};
}

[[nodiscard]] inline std::optional<BrowseEvent> toBrowseEvent(AvahiBrowserEvent event) {
    switch (event) {
        case AVAHI_BROWSER_NEW:
            return BrowseEvent::Added;
        case AVAHI_BROWSER_REMOVE:
            return BrowseEvent::Removed;
        case AVAHI_BROWSER_ALL_FOR_NOW:
            return BrowseEvent::AllForNow;
        case AVAHI_BROWSER_FAILURE:
            return BrowseEvent::Failed;
        case AVAHI_BROWSER_CACHE_EXHAUSTED:
            break;
    }
    return std::nullopt;
}

[[nodiscard]] inline EntryGroup::State toGroupState(AvahiEntryGroupState state) {
    switch (state) {
        case AVAHI_ENTRY_GROUP_ESTABLISHED:
            return EntryGroup::State::Established;
        case AVAHI_ENTRY_GROUP_COLLISION:
            return EntryGroup::State::Collision;
        case AVAHI_ENTRY_GROUP_FAILURE:
            return EntryGroup::State::Failed;
        case AVAHI_ENTRY_GROUP_UNCOMMITED:
        case AVAHI_ENTRY_GROUP_REGISTERING:
            break;
    }
    return EntryGroup::State::Pending;
}

/// For Avahi's optional text arguments, where none is a null pointer.
[[nodiscard]] inline const char* orNull(const QByteArray& text) {
    return text.isEmpty() ? nullptr : text.constData();
}

}  // namespace dnssd
