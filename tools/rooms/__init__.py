# SPDX-License-Identifier: Apache-2.0
"""The rooms of the presets: what they are to sound like, the search that finds them, and their figures."""
