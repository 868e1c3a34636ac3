#include "agent/sample/SampleProfile.h"
#include "agent/sample/SampleWriter.h"

namespace {

struct Clutter {
    const char* path;  ///< "~" is the user's home folder, "%" the media volume
    int kibibytes;
    bool onRenderNode = false;
};

constexpr Clutter clutter[] = {
    {"%/Final Cut Pro Documents/Waveform Cache Files/Harbour Lights.wfm", 96},
    {"%/Final Cut Pro Documents/Waveform Cache Files/Trailer.wfm", 40},
    {"%/Final Cut Pro Documents/Thumbnail Cache Files/Harbour Lights.thm", 64},
    {"%/Final Cut Pro Documents/Capture Scratch/Harbour Lights/Scene 12.mov", 256},
    {"%/Final Cut Pro Documents/Render Files/Harbour Lights/Sequence 1-FIN-00000001", 128},
    {"%/Projects/Harbour Lights/Harbour Lights.fcp", 48},
    {"~/Documents/Final Cut Pro Documents/Autosave Vault/Harbour Lights_08-31-10_1740.fcp", 48},
    {"~/Library/Caches/com.apple.FinalCutPro/Cache.db", 32},
    {"~/Library/Caches/com.apple.motion/Cache.db", 24},
    {"~/Library/Caches/com.apple.soundtrackpro/Cache.db", 16},
    {"~/Library/Caches/com.apple.dvdstudiopro/Cache.db", 12},
    {"~/Library/Caches/com.apple.LiveType/Cache.db", 8},
    {"~/Library/Caches/com.apple.color/Cache.db", 8},
    {"~/Library/Caches/com.apple.CinemaTools/Cache.db", 8},
    {"~/Library/Caches/com.apple.Compressor/Cache.db", 20, true},
    {"~/Library/Caches/com.apple.QuickTimePlayerX/Cache.db", 8, true},
    {"~/Library/Caches/QuickTime/downloads/0a/1b/preview.qtch", 64, true},
    {"~/Library/Caches/AudioUnitCache/com.apple.audiounits.cache", 16},
    {"~/Library/Caches/Motion/LiveFont/Harbour.ltlf", 40},
    {"~/Library/Application Support/Motion/Retiming Cache Files/Scene 12.rtm", 80},
    {"~/Library/Application Support/Soundtrack Pro/Temporary/Take 4.aif", 56},
    {"~/Library/Application Support/Soundtrack Pro/Effects Cache/reverb.cache", 24},
    {"~/Library/Application Support/DVD Studio Pro/MPEG/Scene 12.m2v", 72},
    {"~/Library/Application Support/DVD Studio Pro/Compiler/VIDEO_TS.cache", 32},
    {"~/Library/Application Support/Compressor/history/2010-08-31.compressorHistory", 12, true},
    {"/var/spool/qmaster/4D1A6B2E/shared/segment-0001", 96, true},
    {"/Library/Application Support/Apple Qmaster/Logs/Qmaster.log", 12, true},
};

QString resolved(const char* path, const SampleProfile& profile) {
    QString text = QString::fromUtf8(path);
    if (text.startsWith(u'~')) return profile.home() + text.mid(1);
    if (text.startsWith(u'%'))
        return QStringLiteral("/Volumes/") + QString::fromUtf8(profile.volume) + text.mid(1);
    return text;
}

}  // namespace

void writeSampleClutter(const SampleWriter& disk, const SampleProfile& profile) {
    for (const Clutter& item : clutter) {
        if (profile.isRenderNode() && !item.onRenderNode) continue;
        disk.filler(resolved(item.path, profile), 1024 * item.kibibytes * (4 + profile.index) / 4);
    }
}
