#include <cstring>
#include <iterator>
#include <string>

#include "engine/KvmInstallMgr.h"
#include "engine/command.h"
#include "engine/window.h"

namespace {

void setMediumText(const std::string& text) {
    if (!KvStoreText(KvmInstallMgr::_info.readText, text))
        KvcUserError("The text that names the device or the archives is too long.");
}

}  // namespace

void KvmInstallMgr::setReadFrom(int index) {
    if (index < 0 || index >= static_cast<int>(std::size(KvmInstallMedium))) return;
    _info.readFrom = index;
    setMediumText(KvmInstallMedium[index].defaultText());
}

int KvmInstallMgr::getReadFrom() {
    return _info.readFrom;
}

void KvmInstallMgr::setReadText(const char* text) {
    if (std::strlen(text) >= KvTextSize) {
        KvcUserError("The text that names the device or the archives is too long.");
        return;
    }
    setMediumText(text);
    KvmMediumTextTaken();
}
