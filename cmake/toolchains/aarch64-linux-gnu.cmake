# SPDX-FileCopyrightText: 2026 libvel contributors
#
# SPDX-License-Identifier: MPL-2.0

# Cross build for aarch64-linux-gnu head units with Debian's cross compiler and the
# target's multiarch -dev packages (scripts/install-deps with VEL_WITH_CROSS).
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(VEL_TARGET_TRIPLET aarch64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
