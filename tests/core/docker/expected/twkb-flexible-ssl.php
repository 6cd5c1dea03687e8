<?php
/**
 * Plugin Name: TWKB Flexible SSL
 * Description: Allow WordPress to serve on both HTTP and HTTPS locally.
 */
if ( ! defined( 'ABSPATH' ) ) exit;

// Detect the scheme from the actual request and set WP_HOME / WP_SITEURL
// dynamically so WordPress doesn't redirect between http and https.
add_action( 'muplugins_loaded', function() {
    if ( defined( 'WP_HOME' ) ) return;

    $scheme = ( ! empty( $_SERVER['HTTPS'] ) && $_SERVER['HTTPS'] !== 'off' ) ? 'https' : 'http';
    $port   = ! empty( $_SERVER['SERVER_PORT'] ) ? (int) $_SERVER['SERVER_PORT'] : 80;
    $host   = ! empty( $_SERVER['HTTP_HOST'] ) ? $_SERVER['HTTP_HOST'] : 'localhost';

    // HTTP_HOST already includes the port if non-standard.
    $base = $scheme . '://' . $host;

    define( 'WP_HOME', $base );
    define( 'WP_SITEURL', $base );
});