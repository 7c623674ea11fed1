# SPDX-License-Identifier: Apache-2.0
"""The demonstration: beds, and what became of them."""
