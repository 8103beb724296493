#include <Xm/Label.h>
#include <Xm/ToggleB.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include "builder/KviBxUtil.h"
#include "engine/KvmInstallMgr.h"
#include "engine/KvmInternal.h"
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

KvmInstallSubsystemRow KvmInstallSubsystem[10] = {
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

const KvmInstallProductRow KvmInstallProduct[4] = {
    {pinnetProd, "PNT", "Zarn-Pinnet", 8},
    {corvanProd, "CRV", "Zarn-Corvan", 4},
    {lustrelProd, "LST", "Zarn-Lustrel", 2},
    {ambrelProd, "AMB", "Zarn-Ambrel", 1},
};

namespace {

constexpr const char* addedColour = "#008c00";
constexpr const char* removedColour = "#d00";
constexpr const char* unmarkedColour = "Black";

// Shows a mark on an installed suite and remembers that something is to be done.
void mark(const KvmInstallSubsystemRow& row, const char* colour, int& flag, Widget legend) {
    flag = 1;
    KvmSetForeground(row.getWidget(), colour);
    XtManageChild(legend);
}

void select(KvmInstallSubsystemRow& row, int on) {
    KvmInstallInfo& info = KvmInstallMgr::_info;
    const bool removed = info.installed && row.installed && !on;
    const bool added = info.installed && !row.installed && on;
    if (removed) {
        mark(row, removedColour, info.subsystemsRemoved, kviInstallSubsystemRemovedLabel);
    } else if (added) {
        mark(row, addedColour, info.subsystemsAdded, kviInstallSubsystemAddedLabel);
        XtSetSensitive(kviInstallButtonInstall, True);
    } else {
        KvmSetForeground(row.getWidget(), unmarkedColour);
    }
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
        XmToggleButtonSetState(row.getWidget(), wanted ? True : False, False);
    }
}

}  // namespace

void KvmSetForeground(Widget w, const char* colour) {
    Boolean converted = False;
    Arg pixel{const_cast<char*>(XmNforeground),
              CONVERT(XtParent(w), colour, XmRPixel, 0, &converted)};
    if (converted) XtSetValues(w, &pixel, 1);
}

void KvmShowInstalled() {
    for (KvmInstallSubsystemRow& row : KvmInstallSubsystem) {
        row.installed = KvmIsPresent(row);
        const char* colour = row.selected == row.installed ? unmarkedColour
                             : row.selected                ? addedColour
                                                           : removedColour;
        KvmSetForeground(row.getWidget(), colour);
    }
}

void KvmForgetMarks() {
    KvmInstallInfo& info = KvmInstallMgr::_info;
    info.productChanged = info.subsystemsAdded = info.subsystemsRemoved = 0;
    for (const KvmInstallSubsystemRow& row : KvmInstallSubsystem)
        KvmSetForeground(row.getWidget(), unmarkedColour);
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
        XtSetSensitive(kviInstallButtonInstall, True);
        if (_info.installed) _info.productChanged = 1;
    }
    selectForEdition(mask);
    return initDiskSpace();
}

int KvmInstallMgr::getProduct() {
    for (const KvmInstallProductRow& row : KvmInstallProduct)
        if (XmToggleButtonGetState(row.getWidget())) return row.mask;
    return KvmInstallProduct[0].mask;
}

void KvmInstallMgr::setProductUI() {
    for (int i = 0; i < static_cast<int>(std::size(KvmInstallProduct)); ++i)
        XmToggleButtonSetState(KvmInstallProduct[i].getWidget(), i == _info.product ? True : False,
                               False);
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
