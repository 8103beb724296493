#pragma once

#include <X11/Intrinsic.h>

#include <string>

#include "support/KvTypes.h"

/// The installation engine. Every operation works on one state, `_info` and the tables of the
/// catalogue, and on the widgets of the installer's window, which must exist before `start` runs.
/// Results are 1 for success and 0 for failure, refusal or the answer "No". After a failure or a
/// refusal, `install` and `remove` have told the user why. Texts passed in are only read during the
/// call. `copyInstall`, `getPath`, `getInstallHostname`, `getReadFrom`, `installedInThisSession`,
/// `runApp` and the lookups by code or program serve the suite's other programs.

/// Fills `getWidget` in every row that a table's initialiser leaves out. It has no definition, so
/// it can't run at compile time, when the tables are initialised: a table with such a row does not
/// compile.
Widget (*kvmRowIsMissing())();

/// A row of the table of optional subsystems.
struct KvmInstallSubsystemRow {
    Widget (*getWidget)() = kvmRowIsMissing();  ///< its toggle
    const char* label;
    const char* directory;  ///< its name inside the folder "subsystems"
    float sizeMB;
    int installed;      ///< 1: present in the installed tree
    int selected;       ///< 1: wanted, the toggle is on
    int offForProduct;  ///< mask of the edition that comes without it, 0 for none
};

/// A row of the table of editions.
struct KvmInstallProductRow {
    Widget (*getWidget)() = kvmRowIsMissing();  ///< its toggle
    const char* code;                           ///< three letters
    const char* program;                        ///< name of its start command
    int mask;                                   ///< one bit
};

/// The media, by their index.
enum KvmMedium { KvmLocalTape, KvmRemoteTape, KvmTarFile, KvmCdRom };

enum class KvmExtraction;
struct KvmPlan;

/// A row of the table of media.
struct KvmInstallMediumRow {
    Widget (*getWidget)() = kvmRowIsMissing();  ///< its toggle
    const char* option;                         ///< its command-line option; null: none
    std::string (*defaultText)();               ///< may tell the user why it is empty
    const char* error;                          ///< what the user is told when extraction fails
    KvmExtraction (*extract)(KvmPlan& plan);    ///< extracts from it
};

extern KvmInstallSubsystemRow KvmInstallSubsystem[10];
extern const KvmInstallProductRow KvmInstallProduct[4];
extern const KvmInstallMediumRow KvmInstallMedium[4];

/// Default texts of the two tape media.
extern const char* const KvmInstallReadFrom[2];

/// The status text now shown.
extern KvText KvInstallInfoMsg;

/// The engine's state.
struct KvmInstallInfo {
    int installed;               ///< 1: the suite is installed in `path`
    int installedInThisSession;  ///< 1: a first installation was made by this process
    int product;                 ///< row of the edition, 0 to 3
    KvText version;              ///< of the installed suite
    KvText date;                 ///< of its installation
    KvText path;                 ///< install location: the directory that holds Zarn_system
    KvText readText;             ///< device, archive names, or CD-ROM directory
    KvText installHostname;      ///< host it was installed on
    int readFrom;                ///< medium: a KvmMedium
    KvText startDir;             ///< where the installer and its archives lie
    int productChanged;          ///< 1: another edition was chosen while installed
    int subsystemsAdded;         ///< 1: a subsystem was marked for installation while installed
    int subsystemsRemoved;       ///< 1: a subsystem was marked for removal while installed
};

class KvmInstallMgr {
public:
    KvmInstallMgr() = delete;

    static KvText _progName;
    static KvmInstallInfo _info;
    static KvText _infoFile;  ///< path of the installation record in use
    static int _isRoot;       ///< 1 once the process is known to run as super-user

    // Catalogue

    /// Marks the subsystem of `toggle` as wanted (`on` 1) or not, shows the mark, and recomputes
    /// the disk space. Returns what initDiskSpace does.
    static int setSubsystem(Widget toggle, int on);
    /// Reads the edition from its toggles, switches on the subsystems that belong to it, and
    /// recomputes the disk space. Returns what initDiskSpace does.
    static int setProduct();
    /// Mask of the first edition whose toggle is set; 8 when none is.
    static int getProduct();
    /// Sets the edition's toggles from the state, without running their callbacks.
    static void setProductUI();
    /// The program and code of the current edition, or of the edition with the given code or
    /// program; "Zarn" when there is none.
    static const char* getProductName();
    static const char* getProductCode();
    static const char* getProductName(const char* code);
    static const char* getProductCode(const char* program);

    // Installation record

    /// Determines whether this process runs as the super-user and chooses the record accordingly:
    /// "/usr/lib/.Zarn_inst", otherwise ".Zarn_inst" in the home directory. Returns `_isRoot`.
    static int checkIfRoot();
    /// Reads the record into the state and the toggles. Returns 1 when the suite is installed. If
    /// the record names a location without the suite, the record is deleted and the user is told.
    static int getInstallInfo();
    /// Switches to the record inside the installed tree `location` and shows it. If there is none,
    /// or it describes a tree elsewhere, the user is told, and record and state stay the same.
    static int setInstallInfo(const char* location);
    /// Whether the suite is installed. The widget is ignored.
    static int isInstalled(Widget w);
    static int installedInThisSession();
    /// 1 when this host's name equals, exactly, that of the host the suite was installed on.
    static int isRunningOnServer();
    static char* getPath();
    static char* getInstallHostname();

    // Session

    /// Starts the session: chooses and reads the record, fills the window.
    /// REQUIRES: the window, and KvcInit. `argv[0]` is the program's name.
    static int start(int argc, char** argv);
    /// Resets the state to that of a machine without the suite. Always returns 1.
    static int initInfo();
    /// Brings the window up to date with the state.
    static void init();
    /// Shows the required and the available space, in millions of bytes. Returns 0 when a first
    /// installation would not fit, or would need exactly all the space; 1 otherwise, and always
    /// while the suite is installed.
    static int initDiskSpace();
    /// Joins the pieces (nulls are skipped) and shows them in `label`; the text is on the screen
    /// when this returns. Also prints it if it is not the text shown before. Does nothing if
    /// `label` is null.
    static void info(Widget label, const char* a, const char* b = nullptr, const char* c = nullptr,
                     const char* d = nullptr);
    /// Makes `location` the place for the next first installation; the suite then counts as not
    /// installed. Returns 0 and changes nothing when isValidInstallPath refuses the place, or when
    /// the record could not store it because it is empty, too long, or contains blanks.
    static int setLocation(const char* location);
    /// Returns 0, after an error, when the suite is already in `location`.
    static int isValidInstallPath(const char* location);
    /// Ends the process with status 0.
    [[noreturn]] static void close();

    // Media and extraction

    /// Selects the medium (0 to 3; other numbers change nothing) and sets its default text.
    static void setReadFrom(int index);
    static int getReadFrom();
    /// Stores the medium's text as the user typed it. A text that is too long for its buffer gives
    /// an error and changes nothing.
    static void setReadText(const char* text);
    /// Extracts once from `source` (a device, an archive, or a CD-ROM directory) into the install
    /// location, which must be the working directory. `finalPass` is 1 for the only or last
    /// extraction, which also places the subsystems. Also returns 0 when the user declines, or when
    /// nothing new is marked.
    static int copyInstall(const char* source, int finalPass);
    /// Uncompresses `archive` in its folder; `out` is set to its name without the extension.
    static int uncompress(const char* archive, KvText& out);
    static int compress(const char* file);

    // Installation

    /// Installs the suite, or adds the marked subsystems to it. Returns 1 when it installed
    /// something or changed the edition.
    static int install();

    // Removal

    /// Asks what to remove, and removes it. Returns 1 when it did something.
    static int remove();
    /// Removes the subsystems that are switched off, asking about each. Always returns 1.
    static int removeSubsystems();
    /// Removes the record, the product tree and the start commands. Refuses while the product is
    /// running; also returns 0 when the record or the tree could not be removed.
    static int removeAll();

    // After the installation

    /// Links the edition's start command into the directory of the icon dialog's field.
    static int installIcon_icon();
    /// Asks whether to install the desktop icons, and does so.
    static int installDesktop();
    /// Offers the download of the free translators, unless they are installed.
    static int installTranslators();
    /// Fills the icon dialog's list with the machine's users, except system accounts.
    static int listUsers();
    /// Puts the home directory of user `name` into the icon dialog's field.
    static int selectUser(const char* name);
    /// The home directory of user `name`, in a buffer that the next call overwrites; null when the
    /// password file has none for him.
    static char* getHomeDir(const char* name);
    /// Starts the product from the home directory, in the background.
    static int runApp();
};

/// Fills `host` with this host's name, or "unknown".
void getHostName(KvText& host);
