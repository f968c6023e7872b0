"""What the end-to-end tests start and look with: worlds, crates, servers, clients."""
