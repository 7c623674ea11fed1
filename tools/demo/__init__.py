"""The demonstration: beds, and what became of them."""
