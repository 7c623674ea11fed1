# SPDX-License-Identifier: Apache-2.0
"""The steps that turn measured head-related impulse responses into the compiled-in table."""
