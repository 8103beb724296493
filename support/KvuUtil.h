#pragma once

#include "support/KvTypes.h"

/// The identity of the product that a program belongs to, and messages for code that has no
/// widgets of its own: an external confirmation program shows them and writes the label of the
/// pressed button into the file "/usr/tmp/.zarnUserConfirm". The calls block until the user has
/// answered.
///
/// That program is "bin/KvConfirm" in the directory that ZARNHOME names, for up to three buttons,
/// or else `xconfirm` on the search path. The answer file is used only when it can be made an own
/// regular file (see `platform::prepareTemporary`). Where there is no "/usr/tmp" and this user
/// can't make it, the answer goes to a file in a private folder below "/tmp".
class KvuUtil {
public:
    KvuUtil() = delete;

    // Empty until initClass.
    static KvText _productName;
    static KvText _productDescription;
    static KvText _productVersion;  ///< major and minor version, joined directly
    static KvText _productMajorVersion;
    static KvText _productMinorVersion;
    static KvText _productCopyright;
    static KvText _productResourceName;

    /// Copies the texts into the members above, each cut to 1023 characters; a null one leaves its
    /// member empty. A null `resourceName` means `name`.
    static void initClass(const char* name, const char* description, const char* majorVersion,
                          const char* minorVersion, const char* copyright,
                          const char* resourceName);

    /// Shows an information with the one button "Continue". Returns 1.
    static int userInfo(const char* message);

    /// Shows an error with the one button "Continue". Returns 0.
    static int userError(const char* message);

    /// Shows `message` (lines separated by newlines) with one button per label, `n` of them, under
    /// `title`; null: "Please confirm..." and the icon of a question. A title leaves the icon that
    /// the message before it had (at first that of a question). `KvConfirm` labels a single
    /// button "Continue" whatever its label. `xconfirm` gets no more of the message than 1023
    /// characters of its arguments hold; a cut message ends with "...".
    ///
    /// Returns 1 when `n` is 1. Otherwise the index of the first label that the answer begins with,
    /// `n` when there is none, 0 when `n` is below 1. When there is no answer file it says so on
    /// standard error and returns 0; nothing is asked then, and a message for one button goes to
    /// standard error as well.
    static int userConfirm(int n, const char* const* labels, const char* message,
                           const char* title);
};
