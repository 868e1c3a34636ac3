#include "tools/settlekeep/PreferenceTree.h"

#include <QCoreApplication>

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
    const char* name;  ///< a product's: the same in every language
    const char* key;
    const char* icon;
    std::span<const Group> groups;
};

// Of groups, shown in the user's language.
constexpr const char* preferences = QT_TRANSLATE_NOOP("PreferenceTree", "Preferences");
constexpr const char* borisPluginPreferences =
    QT_TRANSLATE_NOOP("PreferenceTree", "Boris Plugin Preferences");
constexpr const char* buttonBars = QT_TRANSLATE_NOOP("PreferenceTree", "Button Bars");
constexpr const char* keyboardLayouts = QT_TRANSLATE_NOOP("PreferenceTree", "Keyboard Layouts");
constexpr const char* windowLayouts = QT_TRANSLATE_NOOP("PreferenceTree", "Window Layouts");
constexpr const char* columnLayouts = QT_TRANSLATE_NOOP("PreferenceTree", "Column Layouts");
constexpr const char* trackLayouts = QT_TRANSLATE_NOOP("PreferenceTree", "Track Layouts");
constexpr const char* customSettings = QT_TRANSLATE_NOOP("PreferenceTree", "Custom Settings");
constexpr const char* userPlugins = QT_TRANSLATE_NOOP("PreferenceTree", "User Plugins");
constexpr const char* settings = QT_TRANSLATE_NOOP("PreferenceTree", "Settings");
constexpr const char* destinations = QT_TRANSLATE_NOOP("PreferenceTree", "Destinations");

constexpr Group finalCutPro[] = {
    {preferences,
     "fcpPrefs",
     true,
     {"Final Cut Pro User Data/Final Cut Pro Prof Cache.fcpch",
      "Final Cut Pro User Data/Final Cut Pro Obj Cache.fcmch", "com.apple.FinalCutPro.plist"}},
    {borisPluginPreferences,
     "fcpBoris",
     true,
     {"com.borisfx.Vector Shape", "com.borisfx.Title Crawl", "com.borisfx.Title 3D",
      "com.borisfx.Text Scrambler"}},
    {buttonBars, "fcpButton", false, {"Final Cut Pro User Data/Button Bars"}},
    {keyboardLayouts, "fcpKeyboard", false, {"Final Cut Pro User Data/Keyboard Layouts"}},
    {windowLayouts, "fcpWindow", false, {"Final Cut Pro User Data/Window Layouts"}},
    {columnLayouts, "fcpColumn", false, {"Final Cut Pro User Data/Column Layouts"}},
    {trackLayouts, "fcpTrack", false, {"Final Cut Pro User Data/Track Layouts"}},
    {customSettings, "fcpCustom", false, {"Final Cut Pro User Data/Custom Settings"}},
    {userPlugins, "fcpPlugins", false, {"Final Cut Pro User Data/Plugins"}},
};
constexpr Group finalCutExpress[] = {
    {preferences,
     "fcePrefs",
     true,
     {"Final Cut Express User Data/Final Cut Express Prof Cache.fcpch",
      "Final Cut Express User Data/Final Cut Express Obj Cache.fcmch", "com.apple.FinalCutExpress.plist"}},
    {borisPluginPreferences,
     "fceBoris",
     true,
     {"com.borisfx.Vector Shape", "com.borisfx.Title Crawl", "com.borisfx.Title 3D",
      "com.borisfx.Text Scrambler"}},
    {buttonBars, "fceButton", false, {"Final Cut Express User Data/Button Bars"}},
    {keyboardLayouts, "fceKeyboard", false, {"Final Cut Express User Data/Keyboard Layouts"}},
    {windowLayouts, "fceWindow", false, {"Final Cut Express User Data/Window Layouts"}},
    {columnLayouts, "fceColumn", false, {"Final Cut Express User Data/Column Layouts"}},
    {trackLayouts, "fceTrack", false, {"Final Cut Express User Data/Track Layouts"}},
    {customSettings, "fceCustom", false, {"Final Cut Express User Data/Custom Settings"}},
    {userPlugins, "fcePlugins", false, {"Final Cut Express User Data/Plugins"}},
};
constexpr Group soundtrackPro[] = {{preferences, "stpPrefs", true, {"com.apple.soundtrackpro.plist"}}};
constexpr Group motion[] = {{preferences, "motionPrefs", true, {"com.apple.motion.plist"}}};
constexpr Group color[] = {
    {preferences, "colorPrefs", true, {"Color/Preferences.prf", "com.apple.color.plist"}}};
constexpr Group dvdStudioPro[] = {{preferences, "dvdspPrefs", true, {"com.apple.dvdstudiopro.plist"}}};
constexpr Group liveType[] = {{preferences, "livetypePrefs", true, {"com.apple.LiveType.plist"}}};
constexpr Group compressor[] = {{preferences, "compressorPrefs", true},
                                {settings, "compressorSettings", false},
                                {destinations, "compressorDestinations", false}};
constexpr Group batchMonitor[] = {{preferences, "batchmonPrefs", true, {"com.apple.BatchMonitor.plist"}}};
constexpr Group cinemaTools[] = {{preferences, "ctPrefs", true, {"com.apple.CinemaTools.plist"}}};

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

QString nameOf(const Group& group) {
    return QCoreApplication::translate("PreferenceTree", group.name);
}

VLPrefItem itemOf(const Group& group, const QString& folder) {
    const QString name = nameOf(group);
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
            if (left.removeAll(QString::fromLatin1(group.key)) > 0) entry.groups.append(nameOf(group));
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
