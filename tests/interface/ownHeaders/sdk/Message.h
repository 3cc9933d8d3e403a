// SPDX-License-Identifier: Apache-2.0
#error "the SDK includes a header of the application"
