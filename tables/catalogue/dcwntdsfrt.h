#pragma once
// Every domain controller of the forest, with its site and domain, from the configuration context.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSFRT = define(
    kShortHead, "DCWNTDSFRT", "One domain controller of the forest a row.",
    Timing{"ForestTopology", 11},
    text("FRTHSTNM", 256, "DNS host name of the controller, in upper case."),
    text("FRTDMNM", 256, "DNS name of the controller's domain, in upper case."),
    text("FRTDISTNM", 64,
         "Distinguished name of the server object, cut at 64 characters; FRTDISNM holds it whole."),
    text("FRTSITNM", 128, "Site of the controller."),
    text("FRTCMNNM", 128, "Common name of the server object."),
    text("FRTISRODC", 64,
         "TRUE for a read-only domain controller, FALSE for a writable one, NOT_SUPPORTED when the "
         "directory does not tell."),
    text("FRTPRDN", 256,
         "DNS name of the parent domain, in upper case; the domain itself when it has no parent."),
    text("FRTDISNM", 2048, "Distinguished name of the server object."));

static_assert(DCWNTDSFRT.row_size() == 3280);

}  // namespace tables
