# SPDX-License-Identifier: Apache-2.0
"""The validation report: measures the shared library and shows what was found against limits (docs/validation.md)."""
