// SPDX-License-Identifier: MIT
// The version resource: name, version and build id as one string in the library file, where
// `strings` and `emltext --version` find it behind its marker.
namespace {

[[gnu::used]] const char kVersionResource[] =
    "@(#)qob_txeml " QOB_VERSION " (build " QOB_BUILD_ID ")";

} // namespace
