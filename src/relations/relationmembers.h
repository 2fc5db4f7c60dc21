// SPDX-License-Identifier: MIT
#ifndef RELATIONMEMBERS_H
#define RELATIONMEMBERS_H

/// The properties of a relation that the component reads, by index.
enum LXRelationMember : int {
    LXRM_CHILDLISTNAME = 0,
    LXRM_CHILDNAME = 1,
    LXRM_SYSTEMINTERNAL = 14,
    LXRM_PARENTNAME = 19,
    LXRM_PPRRELATIONTYPE = 20,
    LXRM_NAMESHORT = 21
};

#endif
