#pragma once
// The security accounts manager: accounts created, passwords changed, group memberships evaluated.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSSAM = define(
    kLongHead, "DCWNTDSSAM",
    "Work of the security accounts manager on this controller: one row a sample, none when the "
    "system has no such counters.",
    Timing{"SecurityAccountsManager", 23},
    integer("SAMACTGRP",
            "Mean latency of the last evaluations of account and universal groups during "
            "authentication, as the counter gives it."),
    integer("SAMMCATM",
            "Attempts to create a computer account per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("SAMUSRATM",
            "Attempts to create a user account per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("SAMENMR",
            "Enumerations of users, computers, groups and aliases per second over the half second "
            "of the sample, truncated to a whole number."),
    integer("SAMGCEVAL",
            "Group membership evaluations that had to ask a global catalog per second over the "
            "half second of the sample, truncated to a whole number."),
    integer("SAMMEM",
            "Changes of group membership per second over the half second of the sample, truncated "
            "to a whole number."),
    integer("SAMNTMEM",
            "Non-transitive membership evaluations per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("SAMPWDCNG",
            "Password changes per second over the half second of the sample, truncated to a whole "
            "number."),
    integer("SAMQRYDSP",
            "Display information queries per second over the half second of the sample, truncated "
            "to a whole number."),
    integer("SAMRDS",
            "Percentage of directory reads that come from the security accounts manager."),
    integer("SAMRSRC",
            "Global group membership evaluations per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("SAMSRC",
            "Percentage of directory searches that come from the security accounts manager."),
    integer("SAMMCCRT",
            "Computer accounts created per second over the half second of the sample, truncated to "
            "a whole number."),
    integer("SAMUSRCRT",
            "User accounts created per second over the half second of the sample, truncated to a "
            "whole number."),
    integer("SAMTMEVAL",
            "Transitive membership evaluations per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("SAMUGMEVAL",
            "Universal group membership evaluations per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("SAMWRITES",
            "Percentage of directory writes that come from the security accounts manager."),
    integer("SAMDLGME",
            "Domain local group membership evaluations per second over the half second of the "
            "sample, truncated to a whole number; -1 unless the system's major version is 6."),
    integer("SAMRGEL",
            "Mean latency of the last evaluations of resource groups during authentication, as the "
            "counter gives it; -1 unless the system's major version is 6."));

static_assert(DCWNTDSSAM.row_size() == 292);

}  // namespace tables
