#pragma once

#include "ustring.h"

// The portable half of the upgrade service: where the bundle and the per-user copy live, the
// two version records, and the refresh of the per-user copy with backup and rollback. The
// platform steps are pure virtual. Built on the interface thread with the Worker, then used
// only on the worker thread.
class Service {
public:
    Service();
    virtual ~Service();

    // Ends the running client interface so its folder can be replaced.
    virtual void StopService() = 0;
    // Stores a timeout in milliseconds (the macOS service sets 10000). Nothing reads it: the
    // stop of the client keeps its own fixed five one-second probes.
    virtual void SetTimeout(int timeout);
    // 0 when the per-user copy was refreshed; negative when the old copy (if any) was kept.
    virtual int HandlePackageUpgrade() = 0;
    // Starts the per-user client; called whether or not an upgrade ran or succeeded.
    virtual void PostUpgrade() = 0;
    // Loads both version records; must run before IsNeedUpgrade.
    virtual void PreUpgrade() = 0;
    virtual bool IsNeedUpgrade() = 0;
    // Unpacks the bundle's package into the per-user application folder: 0, or negative.
    virtual int ExtractPackage();
    // Fill the source (per-user) or target (bundle) fields from INFO; a missing key keeps the field.
    virtual void LoadSourceVersion();
    virtual void LoadTargetVersion();
    // Moves the per-user copy aside, unpacks, then drops the backups or moves the old copy back.
    // 0 on success; -1 on failure, with the old copy moved back (or left under its backup name).
    virtual int PrepareUserEnv();

    // Copies a file or a folder tree: 0, or -1 at the first failure (what was copied stays). A
    // folder that cannot be listed counts as copied (0, a warning) and stays empty at dst; a
    // read error part-way through a listing ends that folder's copy without failing it.
    int FSCopyPath(const ustring& src, const ustring& dst);
    // Deletes the application folder of the older layout, ~/.Velmora/app.
    void RemoveAgedFolders();

    // Install layout; computed afresh on every call, so a changed home folder is seen at once.
    static ustring GetUserInstallPath();
    static ustring GetRootVelmoraInstallPath();
    static ustring GetRootVelmoraResourceInstallPath();
    static ustring GetUserVelmoraInstallPath();
    static ustring GetUserVelmoraAppInstallPath();
    static ustring GetUserVelmoraDataInstallPath();

protected:
    // Names the per-user copy may be found under: index 0 is user_app_path itself, 1 to 10 its
    // backup names (_tmp, _tmp1 to _tmp9). Empty past the last.
    ustring AppFolderName(int index) const;

    // Removes backups that a killed run left beside the per-user copy. Only for when the copy
    // is known complete and current: while an upgrade is pending a backup may be the user's
    // only full copy.
    void RemoveLeftoverBackups();
    // Measures the package against the volume of the per-user folder before anything is stopped
    // or moved: false, logged with both figures, when the new copy cannot fit beside the old.
    // A package that cannot be measured, or a volume that cannot be read, is left to the unpack
    // to report.
    bool NewCopyFits();
    // When every backup name is taken, no upgrade could move the copy aside again, ever. If the
    // copy in place can run, the leftovers are redundant and go (once it is durable); otherwise
    // they stay, since one of them may be the user's only complete client.
    void FreeBackupNames();

    int timeout;
    ustring user_app_path;
    ustring target_major_version;
    ustring target_minor_version;
    ustring target_build_version;
    ustring target_icon_overlay_version;
    ustring source_major_version;
    ustring source_minor_version;
    ustring source_build_version;
    ustring source_icon_overlay_version;
    // Entries that NewCopyFits counted, so the unpack does not read the package twice; 0 when
    // unknown.
    int package_entries = 0;
};
