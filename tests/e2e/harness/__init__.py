"""What the end-to-end tests start and look with: sandboxes, crates, servers, clients."""
