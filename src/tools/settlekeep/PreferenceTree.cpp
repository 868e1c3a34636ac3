#include "tools/settlekeep/PreferenceTree.h"

#include <algorithm>
#include <span>

namespace {

constexpr int mostFiles = 4;

struct Group {
    const char* name;
    const char* key;
    bool isOn;
    const char* files[mostFiles] = {};  ///< below the Preferences folder; none: only the agents know
};

struct Application {
    const char* name;
    const char* key;
    const char* icon;
    std::span<const Group> groups;
};

constexpr Group finalCutPro[] = {
    {"Preferences",
     "fcpPrefs",
     true,
     {"Final Cut Pro User Data/Final Cut Pro Prof Cache.fcpch",
      "Final Cut Pro User Data/Final Cut Pro Obj Cache.fcmch", "com.apple.FinalCutPro.plist"}},
    {"Boris Plugin Preferences",
     "fcpBoris",
     true,
     {"com.borisfx.Vector Shape", "com.borisfx.Title Crawl", "com.borisfx.Title 3D",
      "com.borisfx.Text Scrambler"}},
    {"Button Bars", "fcpButton", false, {"Final Cut Pro User Data/Button Bars"}},
    {"Keyboard Layouts", "fcpKeyboard", false, {"Final Cut Pro User Data/Keyboard Layouts"}},
    {"Window Layouts", "fcpWindow", false, {"Final Cut Pro User Data/Window Layouts"}},
    {"Column Layouts", "fcpColumn", false, {"Final Cut Pro User Data/Column Layouts"}},
    {"Track Layouts", "fcpTrack", false, {"Final Cut Pro User Data/Track Layouts"}},
    {"Custom Settings", "fcpCustom", false, {"Final Cut Pro User Data/Custom Settings"}},
    {"User Plugins", "fcpPlugins", false, {"Final Cut Pro User Data/Plugins"}},
};
constexpr Group finalCutExpress[] = {
    {"Preferences",
     "fcePrefs",
     true,
     {"Final Cut Express User Data/Final Cut Express Prof Cache.fcpch",
      "Final Cut Express User Data/Final Cut Express Obj Cache.fcmch", "com.apple.FinalCutExpress.plist"}},
    {"Boris Plugin Preferences",
     "fceBoris",
     true,
     {"com.borisfx.Vector Shape", "com.borisfx.Title Crawl", "com.borisfx.Title 3D",
      "com.borisfx.Text Scrambler"}},
    {"Button Bars", "fceButton", false, {"Final Cut Express User Data/Button Bars"}},
    {"Keyboard Layouts", "fceKeyboard", false, {"Final Cut Express User Data/Keyboard Layouts"}},
    {"Window Layouts", "fceWindow", false, {"Final Cut Express User Data/Window Layouts"}},
    {"Column Layouts", "fceColumn", false, {"Final Cut Express User Data/Column Layouts"}},
    {"Track Layouts", "fceTrack", false, {"Final Cut Express User Data/Track Layouts"}},
    {"Custom Settings", "fceCustom", false, {"Final Cut Express User Data/Custom Settings"}},
    {"User Plugins", "fcePlugins", false, {"Final Cut Express User Data/Plugins"}},
};
constexpr Group soundtrackPro[] = {{"Preferences", "stpPrefs", true, {"com.apple.soundtrackpro.plist"}}};
constexpr Group motion[] = {{"Preferences", "motionPrefs", true, {"com.apple.motion.plist"}}};
constexpr Group color[] = {
    {"Preferences", "colorPrefs", true, {"Color/Preferences.prf", "com.apple.color.plist"}}};
constexpr Group dvdStudioPro[] = {{"Preferences", "dvdspPrefs", true, {"com.apple.dvdstudiopro.plist"}}};
constexpr Group liveType[] = {{"Preferences", "livetypePrefs", true, {"com.apple.LiveType.plist"}}};
constexpr Group compressor[] = {{"Preferences", "compressorPrefs", true},
                                {"Settings", "compressorSettings", false},
                                {"Destinations", "compressorDestinations", false}};
constexpr Group batchMonitor[] = {{"Preferences", "batchmonPrefs", true, {"com.apple.BatchMonitor.plist"}}};
constexpr Group cinemaTools[] = {{"Preferences", "ctPrefs", true, {"com.apple.CinemaTools.plist"}}};

// Final Cut Express has no drawing of its own.
constexpr Application applications[] = {
    {"Final Cut Pro", "fcp", "Final_Cut_Pro_Icon_Small", finalCutPro},
    {"Final Cut Express", "fce", "Final_Cut_Pro_Icon_Small", finalCutExpress},
    {"Soundtrack Pro", "stp", "Soundtrack_Pro_Icon_Small", soundtrackPro},
    {"Motion", "motion", "Motion_Icon_Small", motion},
    {"Color", "color", "Color_Icon_Small", color},
    {"DVD Studio Pro", "dvdsp", "DVDSP_Icon_Small", dvdStudioPro},
    {"LiveType", "livetype", "LiveType_Icon_Small", liveType},
    {"Compressor", "compressor", "Compressor_Icon_Small", compressor},
    {"Batch Monitor", "batchmon", "Batch_Monitor_Icon_Small", batchMonitor},
    {"Cinema Tools", "ct", "Cinema_Tools_Icon_Small", cinemaTools},
};

std::optional<QStringList> filesOf(const Group& group, const QString& folder) {
    QStringList files;
    for (const char* file : group.files)
        if (file != nullptr) files.append(folder + u'/' + QLatin1String(file));
    return files.isEmpty() ? std::nullopt : std::optional(files);
}

VLPrefItem itemOf(const Group& group, const QString& folder) {
    const auto name = QString::fromLatin1(group.name);
    const auto key = QString::fromLatin1(group.key);
    const auto files = filesOf(group, folder);
    return group.isOn ? VLPrefItem::initWithName(name, key, files)
                      : VLPrefItem::initWithName(name, key, files, {}, false);
}

}  // namespace

QList<VLPrefItem> PreferenceTree::make(const QString& preferencesFolder) {
    QList<VLPrefItem> tree;
    for (const Application& application : applications) {
        auto item = VLPrefItem::initWithName(QString::fromLatin1(application.name),
                                             QString::fromLatin1(application.key), std::nullopt,
                                             QString::fromLatin1(application.icon));
        for (const Group& group : application.groups)
            item.addChild(itemOf(group, preferencesFolder));
        tree.append(item);
    }
    updateSelection(tree);
    return tree;
}

void PreferenceTree::updateSelection(QList<VLPrefItem>& tree) {
    for (VLPrefItem& parent : tree) {
        const QList<VLPrefItem>& children = parent.children();
        const auto on = std::count_if(children.begin(), children.end(), [](const VLPrefItem& child) {
            return child.selected() == VLPrefItem::On;
        });
        const auto off = children.size() - on;
        if (off == 0)
            parent.setSelected(VLPrefItem::On);
        else
            parent.setSelected(on == 0 ? VLPrefItem::Off : VLPrefItem::Mixed);
    }
}

void PreferenceTree::setSelected(QList<VLPrefItem>& tree, int application, int child, int selected) {
    if (application < 0 || application >= tree.size()) return;
    const int value = selected == VLPrefItem::Mixed ? VLPrefItem::On : selected;
    VLPrefItem& parent = tree[application];
    QList<VLPrefItem> children = parent.children();
    if (child >= children.size()) return;
    if (child >= 0) {
        children[child].setSelected(value);
    } else {
        parent.setSelected(value);
        for (VLPrefItem& each : children)
            each.setSelected(value);
    }
    parent.setChildren(children);
    updateSelection(tree);
}

QStringList PreferenceTree::selectedKeys(const QList<VLPrefItem>& tree) {
    QStringList keys;
    const auto add = [&keys](const VLPrefItem& item) {
        if (item.selected() == VLPrefItem::On && !item.key().isEmpty()) keys.append(item.key());
    };
    for (const VLPrefItem& parent : tree) {
        add(parent);
        if (parent.selected() != VLPrefItem::Mixed) continue;
        for (const VLPrefItem& child : parent.children())
            add(child);
    }
    return keys;
}

QList<PreferenceTree::Covered> PreferenceTree::covered(const QString& keys) {
    QStringList left = keys.split(u',', Qt::SkipEmptyParts);
    QList<Covered> result;
    for (const Application& application : applications) {
        const bool isWhole = left.removeAll(QString::fromLatin1(application.key)) > 0;
        Covered entry{QString::fromLatin1(application.name), {}};
        for (const Group& group : application.groups)
            if (left.removeAll(QString::fromLatin1(group.key)) > 0)
                entry.groups.append(QString::fromLatin1(group.name));
        const bool anyGroup = !entry.groups.isEmpty();
        if (isWhole || entry.groups.size() == qsizetype(application.groups.size())) entry.groups.clear();
        if (isWhole || anyGroup) result.append(entry);
    }
    for (const QString& unknown : std::as_const(left))
        result.append({unknown, {}});
    return result;
}

QString PreferenceTree::coveredApplications(const QString& keys) {
    QStringList names;
    for (const Covered& entry : covered(keys))
        names.append(entry.application);
    return names.join(QStringLiteral(", "));
}
