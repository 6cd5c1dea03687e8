#include "core/docker/ComposeTemplateBuilder.h"

#include "core/base/Random.h"

#include <boost/algorithm/string/replace.hpp>

#include <string_view>

namespace harbor {

namespace {

// clang-format off
constexpr std::string_view apacheTemplate = R"text(services:
  wordpress:
    image: wordpress:php{{php}}-apache
    ports:
      - "{{httpPort}}:80"
      - "{{httpsPort}}:443"
    volumes:
      - ./wordpress:/var/www/html
      - ./ssl:/etc/ssl/local:ro
    environment:
      WORDPRESS_DB_HOST: mysql
      WORDPRESS_DB_USER: wordpress
      WORDPRESS_DB_PASSWORD: {{dbPassword}}
      WORDPRESS_DB_NAME: wordpress
    depends_on:
      mysql:
        condition: service_healthy
    restart: unless-stopped
    networks:
      - site_network
    command: >
      bash -c '
        a2enmod ssl rewrite &&
        echo "<VirtualHost *:443>
          SSLEngine on
          SSLCertificateFile /etc/ssl/local/server.crt
          SSLCertificateKeyFile /etc/ssl/local/server.key
          DocumentRoot /var/www/html
          <Directory /var/www/html>
            AllowOverride All
          </Directory>
        </VirtualHost>" > /etc/apache2/sites-available/default-ssl.conf &&
        a2ensite default-ssl &&
        apache2-foreground
      '

  mysql:
    image: mysql:8.0
    ports:
      - "{{mysqlPort}}:3306"
    volumes:
      - mysql_data:/var/lib/mysql
    environment:
      MYSQL_ROOT_PASSWORD: {{rootPassword}}
      MYSQL_DATABASE: wordpress
      MYSQL_USER: wordpress
      MYSQL_PASSWORD: {{dbPassword}}
    healthcheck:
      test: ["CMD", "mysqladmin", "ping", "-h", "localhost", "-u", "root", "-p{{rootPassword}}"]
      interval: 5s
      timeout: 5s
      retries: 10
    restart: unless-stopped
    networks:
      - site_network

volumes:
  mysql_data:

networks:
  site_network:
    driver: bridge)text";

constexpr std::string_view nginxTemplate = R"text(services:
  nginx:
    image: nginx:alpine
    ports:
      - "{{httpPort}}:80"
      - "{{httpsPort}}:443"
    volumes:
      - ./wordpress:/var/www/html
      - ./nginx.conf:/etc/nginx/conf.d/default.conf:ro
      - ./ssl:/etc/ssl/local:ro
    depends_on:
      - php
    restart: unless-stopped
    networks:
      - site_network

  php:
    image: wordpress:php{{php}}-fpm
    volumes:
      - ./wordpress:/var/www/html
    environment:
      WORDPRESS_DB_HOST: mysql
      WORDPRESS_DB_USER: wordpress
      WORDPRESS_DB_PASSWORD: {{dbPassword}}
      WORDPRESS_DB_NAME: wordpress
    depends_on:
      mysql:
        condition: service_healthy
    restart: unless-stopped
    networks:
      - site_network

  mysql:
    image: mysql:8.0
    ports:
      - "{{mysqlPort}}:3306"
    volumes:
      - mysql_data:/var/lib/mysql
    environment:
      MYSQL_ROOT_PASSWORD: {{rootPassword}}
      MYSQL_DATABASE: wordpress
      MYSQL_USER: wordpress
      MYSQL_PASSWORD: {{dbPassword}}
    healthcheck:
      test: ["CMD", "mysqladmin", "ping", "-h", "localhost", "-u", "root", "-p{{rootPassword}}"]
      interval: 5s
      timeout: 5s
      retries: 10
    restart: unless-stopped
    networks:
      - site_network

volumes:
  mysql_data:

networks:
  site_network:
    driver: bridge)text";

constexpr std::string_view nginxConfigText = R"text(server {
    listen 80;
    server_name localhost;
    root /var/www/html;
    index index.php index.html;

    location / {
        try_files $uri $uri/ /index.php?$args;
    }

    location ~ \.php$ {
        fastcgi_split_path_info ^(.+\.php)(/.+)$;
        fastcgi_pass php:9000;
        fastcgi_index index.php;
        include fastcgi_params;
        fastcgi_param SCRIPT_FILENAME $document_root$fastcgi_script_name;
        fastcgi_param PATH_INFO $fastcgi_path_info;
        fastcgi_param HTTPS $https if_not_empty;
    }

    location ~ /\.ht {
        deny all;
    }
}

server {
    listen 443 ssl;
    server_name localhost;
    root /var/www/html;
    index index.php index.html;

    ssl_certificate /etc/ssl/local/server.crt;
    ssl_certificate_key /etc/ssl/local/server.key;

    location / {
        try_files $uri $uri/ /index.php?$args;
    }

    location ~ \.php$ {
        fastcgi_split_path_info ^(.+\.php)(/.+)$;
        fastcgi_pass php:9000;
        fastcgi_index index.php;
        include fastcgi_params;
        fastcgi_param SCRIPT_FILENAME $document_root$fastcgi_script_name;
        fastcgi_param PATH_INFO $fastcgi_path_info;
        fastcgi_param HTTPS on;
    }

    location ~ /\.ht {
        deny all;
    }
})text";
// clang-format on

constexpr auto passwordLength = 24;

std::string fill(std::string_view composeTemplate, Site const& site)
{
    auto const databasePassword = ComposeTemplateBuilder::generatePassword(passwordLength);
    auto const rootPassword = ComposeTemplateBuilder::generatePassword(passwordLength);
    std::string text(composeTemplate);
    boost::replace_all(text, "{{php}}", rawValue(site.phpVersion));
    boost::replace_all(text, "{{httpPort}}", std::to_string(site.httpPort));
    boost::replace_all(text, "{{httpsPort}}", std::to_string(site.httpsPort));
    boost::replace_all(text, "{{mysqlPort}}", std::to_string(site.mysqlPort));
    boost::replace_all(text, "{{dbPassword}}", databasePassword);
    boost::replace_all(text, "{{rootPassword}}", rootPassword);
    return text;
}

}  // namespace

std::string ComposeTemplateBuilder::generatePassword(std::size_t length)
{
    // Nothing in here needs quoting in YAML or in a shell.
    constexpr std::string_view alphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    std::string password;
    for (std::size_t i = 0; i < length; ++i)
        password += alphabet[randomBelow(static_cast<std::uint32_t>(alphabet.size()))];
    return password;
}

std::string ComposeTemplateBuilder::apacheCompose(Site const& site) { return fill(apacheTemplate, site); }

std::string ComposeTemplateBuilder::nginxCompose(Site const& site) { return fill(nginxTemplate, site); }

std::string ComposeTemplateBuilder::nginxConfig() { return std::string(nginxConfigText); }

}  // namespace harbor
