"""The validation report: measures the shared library and shows what was found against limits (docs/validation.md)."""
