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

    virtual void StopService() = 0;
    virtual void SetTimeout(int timeout);
    virtual int HandlePackageUpgrade() = 0;
    virtual void PostUpgrade() = 0;
    virtual void PreUpgrade() = 0;
    virtual bool IsNeedUpgrade() = 0;
    virtual int ExtractPackage();
    virtual void LoadSourceVersion();
    virtual void LoadTargetVersion();
    virtual int PrepareUserEnv();

    int FSCopyPath(const ustring& src, const ustring& dst);
    void RemoveAgedFolders();

    // Install layout; computed afresh on every call, so a changed home folder is seen at once.
    static ustring GetUserInstallPath();
    static ustring GetRootVelmoraInstallPath();
    static ustring GetRootVelmoraResourceInstallPath();
    static ustring GetUserVelmoraInstallPath();
    static ustring GetUserVelmoraAppInstallPath();
    static ustring GetUserVelmoraDataInstallPath();

protected:
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
};
