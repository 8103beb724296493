#pragma once

#include <string>
#include <vector>

#include "engine/archives.h"
#include "engine/catalogue.h"

/// What an extraction brought: nothing that counts, since a command failed; nothing, since the user
/// said no; some of the wanted subsystems; all of them.
enum class KvmExtraction { failed, declined, part, all };

/// What was found while looking: all that an installation goes by from then on.
struct KvmPlan {
    bool adding = false;               ///< to an installed suite
    std::string place;                 ///< the install location, absolute
    bool makePlace = false;            ///< it does not exist yet
    std::string source;                ///< the medium's text
    std::vector<KvmArchive> archives;  ///< of the tar-file medium
    KvmRows wanted;                    ///< subsystems to extract, in the order of their table
    bool allArchives = true;           ///< none of those that the user named is missing
    bool startAgain = false;           ///< remove first what an unfinished installation left
    bool complete = false;             ///< all was extracted before: only finish
};

/// Those of the wanted subsystems whose directories lie in `folder`, which is listed once.
KvmRows KvmWantedIn(const KvmPlan& plan, const std::string& folder);

/// The ways of the four media. REQUIRES: the working directory is the plan's place.
KvmExtraction KvmExtractFromTape(KvmPlan& plan);
KvmExtraction KvmExtractFromArchives(KvmPlan& plan);
KvmExtraction KvmCopyFromCdRom(KvmPlan& plan);

/// Tells the user which of the wanted subsystems an adding brought, and what stays marked.
void KvmReportAdded(const KvmPlan& plan);

/// Tells the user which of the wanted subsystems a first installation's medium did not hold.
void KvmReportMissing(const KvmPlan& plan);

/// Moves what was extracted into the product tree; false after an error. What has been placed in
/// the tree already stays where it is.
bool KvmPlaceExtracted(const KvmPlan& plan);

/// Takes away what an adding extracted and did not place.
void KvmDropExtracted(const KvmPlan& plan);
