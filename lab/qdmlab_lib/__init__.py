"""The front program of the lab: servers made of files, entered through a sandbox."""
