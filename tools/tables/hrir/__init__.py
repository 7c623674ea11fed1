"""The steps that turn measured head-related impulse responses into the compiled-in table."""
