#pragma once

#include <X11/Intrinsic.h>
#include <Xm/Xm.h>

#include <string>

/// Run-time support for a generated widget tree: resource values from text, and a few small tools
/// for widgets. To be called only from Xt's thread; not reentrant. The installer uses the resource
/// values, fonts and pixmaps; the rest serves the generated windows of the suite's other programs.

// Resource values from text

/// Teaches `app` to convert text to XmString and to XmStringTable, in place of the toolkit's own
/// converters. To be called before the first widget that has such a resource is created.
///
/// Plain text becomes a compound string in which a newline is a line break. Text that begins with
/// "::" is a sequence of segments. A segment consists of `#tag`, `:options` and `"text"`; the first
/// two are optional and may come in either order. Options are t or f (a line break after the text,
/// or none), then :r or :l (direction); the defaults are no break and left to right. A backslash
/// escapes the next character; \n \t \r \f \v stand for the usual control characters. Example:
/// `:::t"first line""second line"`.
/// A table's entries are separated by commas or newlines outside double quotes.
/// Bytes that are not valid text in the locale are kept unchanged.
void RegisterBxConverters(XtAppContext app);

/// Converts `text` to the type `toType` for `w` and returns it as an Arg's value; `size` is unused.
/// `*ok` tells whether it succeeded; on failure the result is 0 and, unless `text` is null, the
/// toolkit has printed a warning. An XmString or XmStringTable is new and belongs to the caller,
/// who frees it once a widget has copied it. For "String", "Double" and "Float", and for a value
/// wider than an XtArgVal, the result is the address of the value, valid until the next conversion.
/// The fonts of a font list are scaled, and chosen by BxFontFor.
XtArgVal CONVERT(Widget w, const char* text, const char* toType, int size, Boolean* ok);

/// The compound string described by the segments in `text`, which comes without the leading "::".
/// The caller frees it. Null for null.
[[nodiscard]] XmString StringToXmString(const char* text);

/// The font to load for `pattern`: the display's first match that is of normal width and made for
/// 75 dpi, like the layouts; `pattern` itself if only other fonts match; "fixed" if none does.
[[nodiscard]] std::string BxFontFor(Display* display, const char* pattern);

/// The factor by which the program enlarges its windows on this display: its resource "scale", a
/// whole number from 1 to 4; 1 for any other value.
[[nodiscard]] int BxScale(Display* display);

/// `pattern` with its sizes, in pixels or tenths of points, multiplied by BxScale.
[[nodiscard]] std::string BxScaledFont(Display* display, std::string pattern);

// Pixmaps and colours

/// Makes a pixmap from the XPM image `data`, ignoring its mask; the caller frees it. On failure it
/// warns "Could not create pixmap." and returns XmUNSPECIFIED_PIXMAP.
Pixmap XPM_PIXMAP(Widget w, const char* const* data);

/// Appends the colours that Motif derives from `background` (top and bottom shadow, arm colour,
/// foreground), unless `args` sets them already, and then `background` itself, to `args`.
/// Returns the index of the background. REQUIRES: room for five more entries.
int SET_BACKGROUND_COLOR(Widget w, Arg* args, Cardinal* count, Pixel background);

// Widgets

/// The root of the widget tree that `w` is in.
[[nodiscard]] Widget BxFindTopShell(Widget w);

/// Finds the widgets listed in `names`, as "a, b" or "[a, b]": searches below `w`, then below its
/// parent and so on. A name that is not found is reported on standard output and left out. The
/// array ends with null; free it with XtFree.
[[nodiscard]] WidgetList BxWidgetIdsFromNames(Widget w, const char* callbackName,
                                              const char* names);

/// Event handler for button presses: posts the popup menu `menu` when its button was pressed.
void MENU_POST(Widget w, XtPointer menu, XEvent* event, Boolean* continueFlag);

/// A newly allocated copy of the value; free it with XtFree.
[[nodiscard]] float* SINGLE(float value);
[[nodiscard]] double* DOUBLE(double value);

// Application defaults

/// One default: the value of `resource` for `childName` in `widgetName` in `rootName`.
/// A record whose `widgetName` is null ends a table.
struct UIAppDefault {
    const char* rootName;
    const char* widgetName;  ///< may be empty
    const char* childName;   ///< null: none
    const char* resource;
    char* value;  ///< null: none; else allocated by malloc, owned by the table's owner
};

/// Adds each of `lines` (a null ends them) as "*<path><line>" to the resources of the display of
/// `w`. Here and in SetAppDefaults, a resource that the display has already is kept.
void setDefaultResources(const char* path, Widget w, const char* const* lines);

/// Sets `value` in each record for which the display has a resource.
void InitAppDefaults(Widget w, UIAppDefault* table);

/// Adds the values of `table` to the display's resources, for the instance `instanceName` below
/// `w`. Nothing happens when `instanceName` is null.
void SetAppDefaults(Widget w, const UIAppDefault* table, const char* instanceName);
