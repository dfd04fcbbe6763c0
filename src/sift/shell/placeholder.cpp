// Replaced by the command framework.
