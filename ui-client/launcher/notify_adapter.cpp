#include "notify_adapter.h"

Notify_Adapter* Notify_Adapter::GetInstance() {
    // A function-local static is built exactly once even when two threads race to the first
    // call; it is never deleted, so a late signal from the worker never meets a dead object.
    static Notify_Adapter instance;
    return &instance;
}

void Notify_Adapter::UpdateProgress(int total, int current) {
    emit sigUpdateProgress(total, current);
}

void Notify_Adapter::UpdateDialogText(QString text) {
    emit sigUpdateDialogText(text);
}
