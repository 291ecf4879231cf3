#pragma once

#include <sys/types.h>

#include "cloud-service.h"

// The macOS steps of the upgrade: the decision, stopping the running client interface before
// its folder is replaced, and opening the per-user client at the end. The Worker owns one and
// drives it on the worker thread only.
class MacService : public Service {
public:
    MacService();
    ~MacService() override;

    // A process-wide instance for callers without a Worker; the Worker builds its own.
    static MacService* GetInstace();

    void StopService() override;
    int HandlePackageUpgrade() override;
    void PostUpgrade() override;
    void PreUpgrade() override;
    // Whether the per-user copy must be refreshed. When it need not be, it also removes the
    // backups a killed run left behind, once the current copy is durable.
    bool IsNeedUpgrade() override;

    void LoadSourceVerInfo();
    void LoadTargetVerInfo();
    // Whether the client executable exists in the per-user application folder.
    bool PerUserBinPathExist();
    // Asks the desktop to open ~/.Velmora/Velmora.app: 0 when it accepted, -1 otherwise.
    static int LaunchPerUserBin();

private:
    // Whether pid is this user's per-user client, the only process the upgrade may signal. Logs
    // why any other process is left alone; false also when the process is already gone.
    bool IsOwnClient(pid_t pid, const ustring& pid_file);
};
