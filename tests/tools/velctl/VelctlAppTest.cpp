// Placeholder replaced below once the application side of the simulator is in.
