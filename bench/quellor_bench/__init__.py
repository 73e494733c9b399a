"""What bench/run does once everything is built. Needs nothing but Python's standard library and the peers."""
