#include <Xm/Xm.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "builder/KviBxUtil.h"
#include "builder/KviOwners.h"
#include "motif/KvcUtil.h"

namespace {

KviXmString stringResource(Widget w, const char* resource) {
    XmString string = nullptr;
    XtVaGetValues(w, resource, &string, nullptr);
    return KviXmString(string);
}

// XmStringGetLtoR would return only the first line.
std::string textOf(XmString string) {
    std::string text;
    XmStringContext context = nullptr;
    if (string == nullptr || !XmStringInitContext(&context, string)) return text;
    XmStringComponentType type = XmSTRING_COMPONENT_UNKNOWN;
    do {
        unsigned length = 0;
        XtPointer value = nullptr;
        type = XmStringGetNextTriple(context, &length, &value);
        const KviText owner(static_cast<char*>(value));
        if (type == XmSTRING_COMPONENT_SEPARATOR)
            text += '\n';
        else if (type == XmSTRING_COMPONENT_TEXT || type == XmSTRING_COMPONENT_LOCALE_TEXT)
            text.append(owner.get(), length);
    } while (type != XmSTRING_COMPONENT_END);
    XmStringFreeContext(context);
    return text;
}

const char* fontForLength(int length, int shortLength, int mediumLength) {
    if (length < shortLength) return "-*-helvetica-bold-r-*-*-*-120-*-*-*-*-iso8859-1";
    if (length < mediumLength) return "-*-helvetica-bold-r-*-*-*-100-*-*-*-*-iso8859-1";
    return "-*-helvetica-medium-r-*-*-*-80-*-*-*-*-iso8859-1";
}

}  // namespace

void KvcLabelSetString(Widget label, const char* text) {
    const KviXmString string = KviStringOf(text);
    // Setting the same text again would still make Motif query the server for the widgets' places.
    if (XmStringCompare(string.get(), stringResource(label, XmNlabelString).get())) return;
    XtVaSetValues(label, XmNlabelString, string.get(), nullptr);
}

char* KvcLabelGetString(Widget label) {
    return XtNewString(textOf(stringResource(label, XmNlabelString).get()).c_str());
}

int KvcFitLabel(Widget label, int room) {
    const KviXmString text = stringResource(label, XmNlabelString);
    XmFontList font = nullptr;
    Dimension width = 0;
    Dimension margin = 0;
    Dimension left = 0;
    Dimension right = 0;
    XtVaGetValues(label, XmNfontList, &font, XmNwidth, &width, XmNmarginWidth, &margin,
                  XmNmarginLeft, &left, XmNmarginRight, &right, nullptr);
    const int needed = XmStringWidth(font, text.get()) + 2 * margin + left + right;
    if (needed > width && room > width)
        XtVaSetValues(label, XmNwidth, std::min(needed, room), nullptr);
    return needed <= std::max<int>(width, room);
}

void KvcLabelSetStringAndResize(Widget label, Widget ref, const char* text, int shortLength,
                                int mediumLength) {
    const int length = static_cast<int>(std::strlen(KvOrEmpty(text)));
    const KviXmString string = KviStringOf(text);
    Boolean ok = False;
    const XtArgVal font =
        CONVERT(ref, fontForLength(length, shortLength, mediumLength), XmRFontList, 0, &ok);
    std::array<Arg, 2> arguments;
    XtSetArg(arguments[0], const_cast<char*>(XmNlabelString), string.get());
    XtSetArg(arguments[1], const_cast<char*>(XmNfontList), font);
    XtSetValues(label, arguments.data(), ok ? 2 : 1);
}

void KvcWidgetGetTextString(Widget w, KvText& out) {
    // Cutting is intended: the caller gets the part that fits.
    static_cast<void>(KvCopyText(out, textOf(stringResource(w, XmNtextString).get())));
}
