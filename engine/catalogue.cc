#include "engine/catalogue.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "engine/command.h"
#include "engine/extract.h"
#include "engine/record.h"
#include "engine/window.h"
#include "platform/Files.h"
#include "ui/KviInstall.h"

Widget textureSub() {
    return kviSubsystemTextures;
}
Widget materialSub() {
    return kviSubsystemMaterials;
}
Widget projectSub() {
    return kviSubsystemProjects;
}
Widget modelSub() {
    return kviSubsystemModels;
}
Widget importSub() {
    return kviSubsystemImportXlators;
}
Widget exportSub() {
    return kviSubsystemExportXlators;
}
Widget renderSub() {
    return kviSubsystemPhotorealRenderer;
}
Widget pictureSub() {
    return kviSubsystemPictureGallery;
}
Widget transDevSub() {
    return kviSubsystemTranslatorsDev;
}
Widget miscSrcSub() {
    return kviSubsystemMiscSource;
}

Widget pinnetProd() {
    return kviInstallPinnet;
}
Widget corvanProd() {
    return kviInstallCorvan;
}
Widget lustrelProd() {
    return kviInstallLustrel;
}
Widget ambrelProd() {
    return kviInstallAmbrel;
}

Widget tapeMedium() {
    return kviInstallToggleTape;
}
Widget remoteTapeMedium() {
    return kviInstallToggleRemoteTape;
}
Widget tarFileMedium() {
    return kviInstallToggleTarFile;
}
Widget cdRomMedium() {
    return kviInstallToggleCD;
}

namespace {

constexpr KvmInstallSubsystemRow rows[] = {
    {textureSub, "Clip art - Textures", "textures", 0.2F, 1, 1, 0},
    {materialSub, "Clip art - Materials", "materials", 0.1F, 1, 1, 0},
    {projectSub, "Clip art - Projects", "projects", 0.1F, 1, 1, 1},
    {modelSub, "Clip art - Models", "models", 0.1F, 1, 1, 0},
    {importSub, "Import translators", "translatorsIn", 0.4F, 1, 1, 0},
    {exportSub, "Export translators", "translators", 0.7F, 1, 1, 0},
    {renderSub, "Photoreal renderer", "render", 2.2F, 1, 1, 2},
    {pictureSub, "Picture gallery", "pictures", 0.0F, 1, 1, 0},
    {transDevSub, "Translators", "translatorDev", 0.1F, 1, 1, 0},
    {miscSrcSub, "Misc. source", "src", 0.0F, 1, 1, 2},
};

constexpr std::size_t longestDirectory() {
    std::size_t longest = 0;
    for (const KvmInstallSubsystemRow& row : rows)
        longest = std::max(longest, std::string_view(row.directory).size());
    return longest;
}

static_assert(std::size(rows) == std::size(KvmInstallSubsystem));
static_assert(longestDirectory() == kvmLongestDirectory.size());

}  // namespace

constinit KvmInstallSubsystemRow KvmInstallSubsystem[10] = {
    rows[0], rows[1], rows[2], rows[3], rows[4], rows[5], rows[6], rows[7], rows[8], rows[9]};

constinit const KvmInstallProductRow KvmInstallProduct[] = {
    {pinnetProd, "PNT", "Zarn-Pinnet", 8},
    {corvanProd, "CRV", "Zarn-Corvan", 4},
    {lustrelProd, "LST", "Zarn-Lustrel", 2},
    {ambrelProd, "AMB", "Zarn-Ambrel", 1},
};

const char* const KvmInstallReadFrom[2] = {"/dev/tape", "guest@<REMOTE-MACHINE-NAME>:/dev/tape"};

namespace {

std::string localTape() {
    return KvmInstallReadFrom[KvmLocalTape];
}

std::string remoteTape() {
    return KvmInstallReadFrom[KvmRemoteTape];
}

std::string cdRomDirectory() {
    return KvuFormat("%s/%s", KvmInstallMgr::_info.startDir, kvmSystem);
}

}  // namespace

constexpr KvmInstallMediumRow KvmInstallMedium[] = {
    {tapeMedium, nullptr, localTape,
     "Error in installing from tape\nPlease check if the tape is inserted in the drive,\n and the "
     "drive is on.\n",
     KvmExtractFromTape},
    {remoteTapeMedium, nullptr, remoteTape,
     "Error in installing from remote tape.\nPlease check if the tape is inserted in the drive,\n "
     "and the drive is on.\n",
     KvmExtractFromTape},
    {tarFileMedium, "-ftp", KvmArchiveNames, "Error while installing from tar file.\n",
     KvmExtractFromArchives},
    {cdRomMedium, "-cdrom", cdRomDirectory,
     "Error in installing from CD-ROM\nPlease check if CD-ROM is connected properly\nand if you "
     "are "
     "running Zarn_install from the CD-ROM!",
     KvmCopyFromCdRom},
};

// The rows are in the order of KvmMedium.
static_assert(KvmInstallMedium[KvmLocalTape].getWidget == tapeMedium);
static_assert(KvmInstallMedium[KvmRemoteTape].getWidget == remoteTapeMedium);
static_assert(KvmInstallMedium[KvmTarFile].getWidget == tarFileMedium);
static_assert(KvmInstallMedium[KvmCdRom].getWidget == cdRomMedium);

namespace {

// The user's marks, indexed by row.
KvmMark marks[std::size(rows)];

KvmMark& markOf(const KvmInstallSubsystemRow& row) {
    return marks[&row - KvmInstallSubsystem];
}

void select(KvmInstallSubsystemRow& row, int on) {
    KvmInstallInfo& info = KvmInstallMgr::_info;
    const bool removed = info.installed && row.installed && !on;
    const bool added = info.installed && !row.installed && on;
    if (removed) info.subsystemsRemoved = 1;
    if (added) info.subsystemsAdded = 1;
    if (added) KvmAllowInstall(true);
    KvmMark& mark = markOf(row);
    mark = KvmMark::none;
    if (removed) mark = KvmMark::removed;
    if (added) mark = KvmMark::added;
    KvmShowMark(row.getWidget(), mark);
    row.selected = on;
}

int rowOfMask(int mask) {
    const auto* row = std::find_if(std::begin(KvmInstallProduct), std::end(KvmInstallProduct),
                                   [&](const auto& product) { return product.mask == mask; });
    return row == std::end(KvmInstallProduct) ? 0 : static_cast<int>(row - KvmInstallProduct);
}

void selectForEdition(int mask) {
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) {
        const int wanted = row.offForProduct == mask ? 0 : 1;
        if (wanted && row.selected) continue;
        row.selected = wanted;
        KvmSetToggle(row.getWidget(), wanted);
    }
}

}  // namespace

std::string KvmSubsystemFolder() {
    return KvuFormat("%s/%s/%s", KvmInstallMgr::_info.path, kvmSystem, kvmSubsystems);
}

std::set<const KvmInstallSubsystemRow*> KvmRowsIn(const std::string& folder) {
    std::set<const KvmInstallSubsystemRow*> rows;
    const auto names = platform::entriesOf(folder);
    if (!names) return rows;
    for (const std::string& name : *names)
        for (const KvmInstallSubsystemRow& row : KvmInstallSubsystem)
            if (name == row.directory) rows.insert(&row);
    return rows;
}

bool KvmIsPresent(const KvmInstallSubsystemRow& row) {
    return KvuSystem::fileExists(KvmSubsystemFolder().c_str(), row.directory, 0);
}

KvmRows KvmWantedRows() {
    KvmRows wanted;
    std::set<const KvmInstallSubsystemRow*> present;
    if (KvmInstallMgr::_info.installed) present = KvmRowsIn(KvmSubsystemFolder());
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem)
        if (row.selected && !present.contains(&row)) wanted.push_back(&row);
    return wanted;
}

KvmRows KvmRowsOnDisk(const KvmRows& rows, bool present) {
    KvmRows found;
    const auto onDisk = KvmRowsIn(KvmSubsystemFolder());
    std::copy_if(rows.begin(), rows.end(), std::back_inserter(found),
                 [&](const auto* row) { return onDisk.contains(row) == present; });
    return found;
}

std::string KvmLabelList(const KvmRows& rows) {
    std::string labels;
    for (const KvmInstallSubsystemRow* row : rows)
        labels = KvuFormat("%s\n%s", labels.c_str(), row->label);
    return labels;
}

void KvmShowInstalled() {
    KvmInstallInfo& info = KvmInstallMgr::_info;
    info.subsystemsAdded = info.subsystemsRemoved = 0;
    const auto present = KvmRowsIn(KvmSubsystemFolder());
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) {
        row.installed = present.contains(&row);
        // A subsystem that was switched only by choosing an edition is not marked.
        if (markOf(row) != KvmMark::none) select(row, row.selected);
    }
}

void KvmForgetMarks() {
    KvmInstallInfo& info = KvmInstallMgr::_info;
    info.productChanged = info.subsystemsAdded = info.subsystemsRemoved = 0;
    for (const KvmInstallSubsystemRow& row : KvmInstallSubsystem)
        KvmShowMark(row.getWidget(), markOf(row) = KvmMark::none);
}

std::string KvmInstalledProgram() {
    const int recorded = KvmInstallMgr::_info.installed ? KvmRecordedProduct() : -1;
    return recorded == -1 ? KvmInstallMgr::getProductName() : KvmInstallProduct[recorded].program;
}

int KvmInstallMgr::setSubsystem(Widget toggle, int on) {
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) {
        if (row.getWidget() != toggle) continue;
        select(row, on ? 1 : 0);
        break;
    }
    return initDiskSpace();
}

int KvmInstallMgr::setProduct() {
    const int mask = getProduct();
    const int row = rowOfMask(mask);
    if (row != _info.product) {
        _info.product = row;
        KvmAllowInstall(true);
        if (_info.installed) _info.productChanged = 1;
    }
    selectForEdition(mask);
    return initDiskSpace();
}

int KvmInstallMgr::getProduct() {
    for (const KvmInstallProductRow& row : KvmInstallProduct)
        if (KvmToggleIsOn(row.getWidget())) return row.mask;
    return KvmInstallProduct[0].mask;
}

void KvmInstallMgr::setProductUI() {
    for (int i = 0; i < static_cast<int>(std::size(KvmInstallProduct)); ++i)
        KvmSetToggle(KvmInstallProduct[i].getWidget(), i == _info.product);
}

const char* KvmInstallMgr::getProductName() {
    return KvmInstallProduct[_info.product].program;
}

const char* KvmInstallMgr::getProductCode() {
    return KvmInstallProduct[_info.product].code;
}

const char* KvmInstallMgr::getProductName(const char* code) {
    for (const KvmInstallProductRow& row : KvmInstallProduct)
        if (std::string_view(row.code) == code) return row.program;
    return "Zarn";
}

const char* KvmInstallMgr::getProductCode(const char* program) {
    for (const KvmInstallProductRow& row : KvmInstallProduct)
        if (std::string_view(row.program) == program) return row.code;
    return "Zarn";
}
