# SPDX-License-Identifier: Apache-2.0
"""Measures of sound at two ears, and charts of them: what the report, the demo and the table generators share."""
